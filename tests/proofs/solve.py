#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Proves what formulas.cpp writes, on standard input, with z3: of every claim that its negation has no solution.

    formulas | solve.py [--only TEXT]... [--seconds N]

Exit status: 0 all is proved, 1 something is not, 77 there is no z3.
"""

import argparse
import sys
import time

try:
    import z3
except ImportError:
    print("z3 is missing (Debian: python3-z3)")
    sys.exit(77)


def problems(lines):
    """(kind, case, name, SMT-LIB) for each claim."""
    case = name = kind = ""
    known, text = [], []
    for line in [*lines, "; end \n"]:
        if not line.startswith("; "):
            text.append(line)
            continue
        if kind == "case":
            known = text
        elif kind:
            # What a claim defines, later ones of its case may use.
            yield kind, case, name, "".join(known + text)
            known = known + [line for line in text if not line.startswith("(assert")]
        kind, _, title = line[2:].rstrip("\n").partition(" ")
        text = []
        if kind == "case":
            case = title
        else:
            name = title


def decide(text, seconds):
    """z3's answer and the solver that gave it. Either of two has it soon or hardly ever, and nobody knows which."""
    for solver, most in ((z3.SolverFor("QF_BV"), 3), (z3.Tactic("smt").solver(), 60), (z3.SolverFor("QF_BV"), seconds)):
        solver.set("timeout", most * 1000)
        solver.from_string(text)
        result = solver.check()
        if result != z3.unknown:
            break
    return result, solver


def main():
    """Exit status."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--only", action="append", help="cases whose names contain this text, or another one given so")
    parser.add_argument("--seconds", type=int, default=600, help="for a claim, before it counts as not proved")
    options = parser.parse_args()
    started = time.monotonic()
    proved, failed, refuted, broken = 0, [], set(), set()
    slowest = (0.0, "")
    for kind, case, name, text in problems(sys.stdin):
        if options.only and not any(text in case for text in options.only):
            continue
        formula = case.split(", green")[0]
        if kind == "broken":
            broken.add(formula)
            if formula in refuted:
                continue
        begin = time.monotonic()
        result, solver = decide(text, options.seconds)
        slowest = max(slowest, (time.monotonic() - begin, f"{case}: {name}"))
        if kind == "broken":
            if result == z3.sat:
                refuted.add(formula)
        elif result == z3.unsat:
            proved += 1
        else:
            failed.append(f"{case}: {name}: {result}")
            if result == z3.sat:
                failed.append("  " + str(solver.model()).replace("\n", " ")[:400])
            print(failed[-1], flush=True)
    took = time.monotonic() - started
    print(f"{proved} claims proved for all inputs in {took:.0f} s; the slowest took {slowest[0]:.1f} s, {slowest[1]}")
    for formula in sorted(broken):
        print(f"broken on purpose: {formula}: {'refuted' if formula in refuted else 'NOT REFUTED'}")
    for line in failed:
        print("NOT PROVED", line)
    return 0 if proved and not failed and refuted == broken else 1


if __name__ == "__main__":
    sys.exit(main())
