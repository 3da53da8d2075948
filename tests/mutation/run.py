#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Makes small mistakes in the sources, one at a time, and asks whether a test fails.

    tests/mutation/run.py [--count N] [--seed N] [--work DIR] [--jobs N] [--only PATTERN]

All mistakes of a sample are compiled into one build of a copy of the sources, and a program chooses one of them when it
starts. Each is tried with the tests that come by its place until one fails, the quick tests first. What all tests let
pass is listed, unless equivalent.txt says why it changes nothing that can be seen. The same seed and sources make the
same sample. A run that was interrupted goes on where it was: a mistake that was killed is not tried again as long as
its file stays the same, and one that survived not before a test that comes by it is another one.

Mistakes in what the compiler computes (tables, constants, sizes, immediate operands) cannot be chosen by a program;
they are counted apart and not tried. Nor are those in the vocabulary of a processor that this one is not.
Needs python3-clang, ninja-build and the packages of ./check. Exit code: 0 if no unknown mutant survives and all were
tried to the end, else 1.
"""
import argparse
import collections
import functools
import hashlib
import json
import os
import pickle
import random
import re
import resource
import selectors
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from sites import Finder  # noqa: E402

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
FOLDERS = ("src/", "include/")
TESTS = re.compile(r"^(checkkernel|unit|frame|layer|golden)\.")
PROGRAMS = re.compile(r"^(checkkernel|unit_\w+|frame_\w+|kivo_layer_test|layer_engine|golden_\w+): phony", re.MULTILINE)
# What these ask for is not in the text of a source, or is each test's own memory and time.
NOT_ASKED = re.compile(
    r"threads_first_use|frame\.quiet|plugins|shared_library|example_texture|exceptions|sensor_frames")
FAILED = re.compile(rb"^FAIL|: Failure$|\[  FAILED  \]|^wrong|^crash", re.MULTILINE)
SLOW = 2  # seconds; what takes longer is asked when all else is done
TARGETS = "Baseline;Avx2;Avx512"  # what Sse41 adds to its neighbours is tried by none


def say(text):
    print(text, flush=True)


def configure(source, build):
    subprocess.run(
        ["cmake", "-G", "Ninja", "-S", source, "-B", build, "-DCMAKE_BUILD_TYPE=Release",
         "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -w", f"-DCMAKE_CXX_FLAGS=-fpermissive -Wno-narrowing -include {HERE}/mutant.h",
         "-DCAMUTL_BUILD_TESTS=ON", "-DCAMUTL_TEST_QUICK=ON", "-DCAMUTL_BUILD_TOOLS=OFF", f"-DCAMUTL_TARGETS={TARGETS}",
         *(["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else [])],
        check=True, stdout=subprocess.DEVNULL)
    return json.loads((build / "compile_commands.json").read_text())


def tracked():
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    files = subprocess.run(command, cwd=ROOT, check=True, capture_output=True).stdout
    return [name for name in files.decode().split("\0") if name and (ROOT / name).is_file()]


def write(source, changed):
    """Makes a copy of the sources with some files changed; what is as it was is left alone."""
    names = set(tracked())
    for name in names:
        content, target = changed.get(name) or (ROOT / name).read_bytes(), source / name
        if not target.exists() or target.read_bytes() != content:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
            shutil.copymode(ROOT / name, target)
    for path in [p for p in source.rglob("*") if p.is_file() and str(p.relative_to(source)) not in names]:
        path.unlink()


def find(work, source, commands):
    """All sites of the sources; the richest target's first, as most of the kernels' texts are in it."""
    texts = {n: (ROOT / n).read_bytes() for n in tracked() if n.startswith(FOLDERS)}
    state = hashlib.sha256(b"".join(texts[n] for n in sorted(texts)) + (HERE / "sites.py").read_bytes()).hexdigest()
    cache = work / "sites.pickle"
    if cache.exists():
        known, sites = pickle.loads(cache.read_bytes())
        if known == state:
            return sites, texts
    finder = Finder(ROOT, FOLDERS)
    seen = set()
    for entry in reversed(commands):
        name = entry["file"].removeprefix(f"{source}/")
        target = re.search(r"-DKIVO_TARGET=(\w+)", entry["command"])
        if not (name.startswith("src/") or (name.startswith("tests/layer/") and name.endswith("_test.cpp"))):
            continue
        if name in seen and (not target or target[0] in seen):
            continue
        seen |= {name, target[0] if target else name}
        words = shlex.split(entry["command"].replace(str(source), str(ROOT)))
        finder.visit(ROOT / name, [w for w in words if re.match(r"-(I|D|std=|m|isystem)", w)] + ["-Wno-everything"])
    sites = list(finder.sites.values())
    cache.write_bytes(pickle.dumps((state, sites)))
    return sites, texts


def identity(site, texts):
    """A site in a file as it is now."""
    return f"{hashlib.sha256(texts[site.file]).hexdigest()[:12]}:{site.file}:{site.start}:{site.end}:{site.kind}"


def sample(sites, count, seed, only):
    """Mistakes that do not overlap, as many of each file as its share is."""
    able = sorted((s for s in sites if not s.constant and re.search(only, s.file)),
                  key=lambda s: (s.file, s.start, s.end, s.kind))
    random.Random(seed).shuffle(able)
    chosen, taken = [], collections.defaultdict(list)
    for site in able:
        if len(chosen) == count:
            break
        if all(site.end <= a or b <= site.start for a, b in taken[site.file]):
            taken[site.file].append((site.start, site.end))
            chosen.append(site)
    return chosen


def instrumented(texts, numbered):
    """The files with their mistakes in them. Lines stay where they were."""
    by_file = collections.defaultdict(list)
    for number, site in numbered.items():
        by_file[site.file].append((number, site))
    changed = {}
    for name, sites in by_file.items():
        text = texts[name]
        for number, site in sorted(sites, key=lambda p: -p[1].start):
            alive = f"KivoMutantAlive({number})"
            old, new = site.old, " ".join(re.sub(r"//.*", "", site.new).split())
            put = f"if (!{alive}) {old}" if site.statement else f"({alive} ? ({new}) : ({old}))"
            text = text[:site.start] + put.encode() + text[site.end:]
        changed[name] = text
    return changed


def to_blame(said, numbered, source):
    """Which mistakes a compiler complains of: those it shows, else those in lines that it names."""
    shown = {int(n) for n in re.findall(r"KivoMutantAlive\((\d+)\)", said)} & set(numbered)
    if shown:
        return shown
    places = {(n.removeprefix(f"{source}/"), int(line)) for n, line in re.findall(r"([^\s'‘]+?):(\d+):\d+", said)}
    return {n for n, s in numbered.items()
            if places & {(s.file, line) for line in range(s.line, s.line + s.old.count("\n") + 1)}}


def compile_all(work, source, build, texts, numbered, commands, jobs):
    """Builds the tests, without the mistakes that do not compile; they are taken from the numbers."""
    known = work / "uncompiled.json"
    dropped = set(json.loads(known.read_text())) if known.exists() else set()

    def drop(blamed, said):
        blamed = set().union(*blamed)
        if not blamed:
            sys.exit(f"cannot tell which mistake does not compile:\n{said[:4000]}")
        say(f"  {len(blamed)} do not compile")
        dropped.update(identity(numbered.pop(n), texts) for n in blamed)
        known.write_text(json.dumps(sorted(dropped)))
        write(source, instrumented(texts, numbered))

    def errors(entry):
        words = shlex.split(entry["command"])
        words = words[1:] if words[0].endswith("ccache") else words
        done = subprocess.run([*words, "-fsyntax-only"], cwd=entry["directory"], capture_output=True, text=True)
        return done.stderr if done.returncode else ""

    for number in [n for n, s in numbered.items() if identity(s, texts) in dropped]:
        del numbered[number]
    write(source, instrumented(texts, numbered))
    left = [] if dropped else [c for c in commands if "/src/" in c["file"] or "/tests/layer/" in c["file"]]
    while left:
        with ThreadPoolExecutor(jobs) as pool:
            said = list(pool.map(errors, left))
        left = [c for c, text in zip(left, said) if text]
        if left:
            drop([to_blame(text, numbered, source) for text in said if text], "".join(said))
    ninja = ["ninja", "-C", build, "-j", str(jobs)]
    subprocess.run([*ninja, "build.ninja"], check=True, stdout=subprocess.DEVNULL)  # there may be new tests
    programs = PROGRAMS.findall(subprocess.run([*ninja, "-t", "targets", "all"], check=True, capture_output=True,
                                               text=True).stdout)
    while True:
        done = subprocess.run([*ninja, "-k", "0", *programs], capture_output=True, text=True)
        if done.returncode == 0:
            return
        drop([to_blame(said, numbered, source) for said in done.stdout.split("FAILED: ")[1:]], done.stdout)


@functools.cache
def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Test:
    """A program of the suite, and what it takes without a mistake."""

    def __init__(self, shown):
        properties = {p["name"]: p["value"] for p in shown.get("properties", [])}
        self.name, self.command = shown["name"], shown["command"]
        self.folder = properties.get("WORKING_DIRECTORY")
        self.skips = "SKIP_RETURN_CODE" in properties
        self.seconds, self.reached, self.state = 0.0, set(), None

    def run(self, environment, limit):
        """Whether it fails, by the first failure that it tells of, and the seconds of processor time."""
        def limits():
            resource.setrlimit(resource.RLIMIT_CPU, (int(limit) + 1, int(limit) + 2))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        with tempfile.TemporaryDirectory() as scratch:
            program = subprocess.Popen(self.command, cwd=self.folder, preexec_fn=limits, start_new_session=True,
                                       env={**os.environ, **environment, "TMPDIR": scratch}, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            end, said, failed = time.monotonic() + 10 * limit, b"", True
            with selectors.DefaultSelector() as selector:
                selector.register(program.stdout, selectors.EVENT_READ)
                while (left := end - time.monotonic()) > 0:
                    if not selector.select(left):
                        continue
                    block = os.read(program.stdout.fileno(), 1 << 16)
                    if not block:
                        failed = False
                        break
                    said = said[-4096:] + block
                    if FAILED.search(said):
                        break
            if failed:
                os.killpg(program.pid, signal.SIGKILL)
            program.stdout.close()
            _, status, usage = os.wait4(program.pid, 0)
            program.returncode = os.waitstatus_to_exitcode(status)
            good = program.returncode == 0 or (self.skips and program.returncode == 77)
            return failed or not good, usage.ru_utime + usage.ru_stime

    def measure(self, numbers, before):
        parts = [Path(self.command[0]), *Path(self.command[0]).parents[2].glob("libKivo*.so")]
        self.state = (self.name, *map(digest, sorted(parts)))
        if self.state in before:
            self.seconds, self.reached = before[self.state]
            return
        with tempfile.TemporaryDirectory() as notes:
            failed, self.seconds = self.run({"KIVO_REACHED": notes}, 1200)
            if failed:
                sys.exit(f"{self.name} fails without a mistake")
            self.reached = {int(n) for file in Path(notes).iterdir() for n in file.read_text().split()} & numbers


def tests_of(build):
    shown = json.loads(subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True,
                                      capture_output=True, text=True).stdout)
    return [Test(t) for t in shown["tests"] if TESTS.match(t["name"]) and not NOT_ASKED.search(t["name"])]


def equivalents():
    """The mistakes that change nothing: lines that begin with two spaces, below the reason."""
    lines = (HERE / "equivalent.txt").read_text().splitlines()
    return {line.strip() for line in lines if line.startswith("  ")}


def tests_for(number, site, tests):
    """The tests that come by a place, the quick ones first; what is compiled once is tried with other targets last."""
    once = not site.file.startswith(("src/kernels/", "src/simd/"))
    return sorted((t for t in tests if number in t.reached),
                  key=lambda t: (once and t.name.endswith((".Baseline", ".Avx2")), t.seconds))


def state_of(tests):
    return hashlib.sha256(repr(sorted(t.state for t in tests)).encode()).hexdigest()[:12]


def judge(number, site, asked, slow, kills):
    """Tries the quick tests or the slow ones, those first that have killed others of the same file."""
    spent, killer = 0.0, None
    left = [t for t in asked if slow == (t.seconds > SLOW)]
    while left and not killer:
        # In the order in which they stand, but for those that have killed others.
        test = min(left, key=lambda t: (asked.index(t) + 1) / (1 + kills[site.file, t.name]))
        left.remove(test)
        failed, seconds = test.run({"KIVO_MUTANT": str(number)}, 4 * test.seconds + 2)
        spent += seconds
        if failed:
            killer = test.name
            kills[site.file, killer] += 1
    more = not slow and any(t.seconds > SLOW for t in asked)
    result = "killed" if killer else "not tried to the end" if more else "survived" if asked else "not reached"
    return {"result": result, "killer": killer, "seconds": round(spent, 2), "state": state_of(asked), "line": site.line,
            "key": site.key}


def report(results, numbered, known):
    rows, unknown = collections.defaultdict(collections.Counter), []
    for number, site in numbered.items():
        result = results.get(number, {"result": "not tried to the end"})
        what = result["result"]
        if what != "killed" and site.key in known:
            what = "equivalent"
        elif what == "survived":
            unknown.append(result)
        rows[re.match(r"src/\w+|include", site.file)[0]][what] += 1
    heads = ("killed", "equivalent", "survived", "not reached", "not tried to the end")
    say("| Folder | Mutants | " + " | ".join(h.capitalize() for h in heads) + " |\n|---|" + "---:|" * (len(heads) + 1))
    for folder in sorted(rows):
        say(f"| `{folder}` | {sum(rows[folder].values())} | " + " | ".join(str(rows[folder][h]) for h in heads) + " |")
    total = sum(rows.values(), collections.Counter())
    say(f"| all | {sum(total.values())} | " + " | ".join(str(total[h]) for h in heads) + " |")
    say(f"{sum(r.get('seconds', 0) for r in results.values()):.0f} s of processor time")
    for result in sorted(unknown, key=lambda r: r["key"]):
        say(f"survives: {result['line']}: {result['key']}")
    return 1 if unknown or total["not tried to the end"] else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=1200, help="mistakes to try (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="of the sample (%(default)s)")
    parser.add_argument("--work", type=Path, default=ROOT / "build" / "mutation", help="folder to work in")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", default="", help="pattern for the names of files")
    parser.add_argument("--report", action="store_true", help="only say what is known by now")
    options = parser.parse_args()

    work = options.work.resolve()
    source, build = work / "source", work / "build"
    source.mkdir(parents=True, exist_ok=True)
    if not (build / "compile_commands.json").exists():
        write(source, {})
    commands = configure(source, build)
    sites, texts = find(work, source, commands)
    chosen = sample(sites, options.count, options.seed, options.only)
    numbered = dict(enumerate(chosen, 1))
    say(f"{len(sites)} mistakes can be made, {sum(s.constant for s in sites)} of them in what the compiler computes; "
        f"{len(chosen)} chosen")

    journal = work / "results.jsonl"
    past = {}
    if journal.exists():
        past = {r["identity"]: r for r in map(json.loads, journal.read_text().splitlines())}
    known = equivalents()
    if not options.report:
        compile_all(work, source, build, texts, numbered, commands, options.jobs)
    else:
        gone = set(json.loads((work / "uncompiled.json").read_text()))
        numbered = {n: s for n, s in numbered.items() if identity(s, texts) not in gone}
    say(f"{len(chosen) - len(numbered)} do not compile")
    results = {n: past[identity(s, texts)] for n, s in numbered.items() if identity(s, texts) in past}
    if options.report:
        return report(results, numbered, known)

    tests = tests_of(build)
    measured = work / "measured.pickle"
    before = pickle.loads(measured.read_bytes()) if measured.exists() else {}
    with ThreadPoolExecutor(options.jobs) as pool:
        list(pool.map(lambda t: t.measure(set(numbered), before), tests))
        measured.write_bytes(pickle.dumps({t.state: (t.seconds, t.reached) for t in tests}))
        say(f"{len(tests)} tests take {sum(t.seconds for t in tests):.0f} s of processor time in all")
        asked = {n: tests_for(n, s, tests) for n, s in numbered.items()}
        again = [n for n, s in numbered.items()
                 if n not in results or (results[n]["result"] != "killed" and s.key not in known)]
        again.sort(key=lambda n: (n in results, numbered[n].file.startswith("src/guess/")))  # whose tests take longest
        kills = collections.Counter((numbered[n].file, r["killer"]) for n, r in results.items() if r["killer"])
        with journal.open("a") as out:
            for slow in (False, True):
                tried = {pool.submit(judge, n, numbered[n], asked[n], slow, kills): n for n in again
                         if n not in results or (results[n]["result"] == "not tried to the end" and slow)
                         or (results[n]["result"] != "killed" and results[n].get("state") != state_of(asked[n]))}
                for done in as_completed(tried):
                    number, result = tried[done], done.result()
                    results[number] = result
                    out.write(json.dumps({"identity": identity(numbered[number], texts), **result}) + "\n")
                    out.flush()
                    if result["result"] in ("survived", "not reached"):
                        say(f"{result['result']}: {result['line']}: {result['key']}")
    return report(results, numbered, known)


if __name__ == "__main__":
    sys.exit(main())
