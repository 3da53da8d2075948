# SPDX-License-Identifier: Apache-2.0
"""Where the sources can be changed by one small mistake, found in clang's syntax tree."""
import re
from dataclasses import dataclass

from clang import cindex
from clang.cindex import CursorKind as Kind

SWAPPED = {
    "+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "|",
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
    "+=": "-=", "-=": "+=", "*=": "+=", "/=": "*=", "<<=": ">>=", ">>=": "<<=", "&=": "|=", "|=": "&=", "^=": "|=",
}
# Words of the vocabulary, and of the standard library, that one could take for one another.
NAMES = [("Low", "High"), ("Lo", "Hi"), ("Min", "Max"), ("min", "max"), ("Even", "Odd"), ("Left", "Right"),
         ("Add", "Sub"), ("Above", "Below"), ("First", "Last"), ("Red", "Blue")]
# In front of a number that an instruction has in itself.
IMMEDIATE = re.compile(r"\b_mm\d*_(?!set)\w+\([^()]*(\([^()]*(\([^()]*\)[^()]*)*\)[^()]*)*$")


@dataclass(frozen=True)
class Site:
    """One change of one place: the text between two offsets of a file, and what stands there instead."""

    file: str
    line: int
    start: int
    end: int
    kind: str
    old: str
    new: str
    constant: bool  # computed by the compiler, so that no program can choose it when it runs
    statement: bool
    around: tuple  # what stands in the same lines before and behind

    @property
    def key(self):
        """The place by its text, which stays the same when lines above it change."""
        old, new = " ".join(self.old.split()), " ".join(self.new.split()) or "nothing"
        return f"{self.file}: {self.around[0]}[{old} -> {new}]{self.around[1]}"


class Finder:
    """The sites of all files below a root that a translation unit of it includes."""

    def __init__(self, root, folders):
        self.root = root
        self.folders = folders
        self.texts = {}
        self.sites = {}

    def visit(self, source, arguments):
        index = cindex.Index.create()
        unit = index.parse(str(source), args=arguments)
        for cursor in unit.cursor.get_children():
            if self._name(cursor):
                self._walk(cursor, False)

    def _name(self, cursor):
        file = cursor.location.file
        if file is None:
            return None
        name = file.name.removeprefix(str(self.root) + "/")
        return name if name.startswith(self.folders) and not name.endswith("_neon.h") else None

    def _bytes(self, name):
        if name not in self.texts:
            self.texts[name] = (self.root / name).read_bytes()
        return self.texts[name]

    def _walk(self, cursor, constant):
        kind = cursor.kind
        if kind in (Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.TEMPLATE_REF):
            return
        name = self._name(cursor)
        if name and cursor.extent.start.file and cursor.extent.start.file.name == cursor.extent.end.file.name:
            constant = constant or self._is_constant(cursor, name)
            self._sites(cursor, name, constant)
        children = list(cursor.get_children())
        for number, child in enumerate(children):
            if kind == Kind.CASE_STMT and number == 0:
                continue
            if kind == Kind.IF_STMT and number == 0 and self._text(cursor, name).startswith("if constexpr"):
                self._walk(child, True)
                continue
            self._walk(child, constant)

    def _text(self, cursor, name):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        return self._bytes(name)[start:end].decode() if name else ""

    def _is_constant(self, cursor, name):
        if cursor.kind == Kind.VAR_DECL:
            return "constexpr" in self._text(cursor, name).split("=")[0].split("{")[0]
        if cursor.kind in (Kind.FUNCTION_DECL, Kind.FUNCTION_TEMPLATE, Kind.CXX_METHOD):
            return "constexpr" in self._text(cursor, name).split("(")[0]
        return False

    def _add(self, name, start, end, kind, new, constant, statement=False):
        text = self._bytes(name)
        line = text.count(b"\n", 0, start) + 1
        old = text[start:end].decode()
        if "\n#" in old:
            return
        before = text[text.rfind(b"\n", 0, start) + 1:start].decode()
        constant = constant or (kind == "number" and IMMEDIATE.search(before) is not None)
        around = (before.lstrip(),
                  text[end:(text.find(b"\n", end) + 1 or len(text) + 1) - 1].decode().rstrip())
        site = Site(name, line, start, end, kind, old, new, constant, statement, around)
        self.sites.setdefault((name, start, end, kind), site)

    def _sites(self, cursor, name, constant):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        text = self._bytes(name)
        if cursor.kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            self._operator(cursor, name, start, end, constant)
        elif cursor.kind == Kind.INTEGER_LITERAL:
            old = text[start:end].decode()
            if match := re.fullmatch(r"(0x[0-9a-fA-F]+|0|[1-9]\d*)([uUlL]*)", old):
                self._add(name, start, end, "number", f"{int(match[1], 0) + 1}{match[2]}", constant)
        elif cursor.kind == Kind.CALL_EXPR:
            self._call(cursor, name, start, end, constant)
        elif cursor.kind == Kind.IF_STMT:
            condition = next(iter(cursor.get_children()), None)
            if condition is not None and condition.kind not in (Kind.BINARY_OPERATOR, Kind.VAR_DECL, Kind.DECL_STMT):
                a, b = condition.extent.start.offset, condition.extent.end.offset
                old = text[a:b].decode()
                if old and "\n" not in old and not self._text(cursor, name).startswith("if constexpr"):
                    self._add(name, a, b, "condition", f"!({old})", constant)
        elif cursor.kind == Kind.COMPOUND_STMT:
            for child in cursor.get_children():
                if child.kind in (Kind.CALL_EXPR, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
                    a, b = child.extent.start.offset, child.extent.end.offset
                    if text[b:b + 1] == b";" and b > a:
                        self._add(name, a, b, "statement", "", constant, True)

    def _operator(self, cursor, name, start, end, constant):
        children = list(cursor.get_children())
        if len(children) != 2 or not start < end:
            return
        a, b = children[0].extent.end.offset, children[1].extent.start.offset
        text = self._bytes(name)
        if not start < a <= b < end:
            return
        word = text[a:b].decode().strip()
        if word in SWAPPED:
            left, right = text[start:a].decode(), text[b:end].decode()
            self._add(name, start, end, "operator", f"{left} {SWAPPED[word]} {right}", constant)

    def _call(self, cursor, name, start, end, constant):
        text = self._bytes(name)[start:end].decode()
        match = re.match(r"(?:\w+::)*(\w+)", text)
        if not match or match[1].startswith(("_mm", "__", "v_")):
            return
        for one, other in NAMES:
            for old, new in ((one, other), (other, one)):
                if re.search(f"{old}(?![a-z])", match[1]):
                    changed = re.sub(f"{old}(?![a-z])", new, match[1], count=1)
                    self._add(name, start, end, "name", text.replace(match[1], changed, 1), constant)
                    return
