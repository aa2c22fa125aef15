#!/usr/bin/env python3
"""Generates native_table.inc: random expressions in the language that the
library's engine shares with Python's re (bytes mode), random subjects, and
what re.search finds. Run from this directory:

    python3 gen_native_table.py > native_table.inc

Each expression is built as a tree and written twice: in the engine's syntax
and as the equivalent Python expression ("$" as \\Z, "." with DOTALL, class
members as explicit byte escapes, a backslash inside a class as a member).
Only expressions that the engine accepts are made: "*" and "+" only on
atoms that can't match the empty text, no repetition of a repetition, at
most 9 groups. Fixed seed, so the output is stable.
"""
import random
import re
import sys

SEED = 20240607
ROWS = 1500
ALPHABET = b"abc"
SUBJECT_BYTES = b"aaabbbccc-.]\n\\x"
META = b"^$.[()|?+*\\"


class Gen:
    def __init__(self, rnd):
        self.rnd = rnd
        self.groups = 0

    def expr(self, depth):
        branches = [self.branch(depth)]
        while self.rnd.random() < 0.25 and len(branches) < 3:
            branches.append(self.branch(depth))
        native = b"|".join(b[0] for b in branches)
        python = b"|".join(b[1] for b in branches)
        nonempty = all(b[2] for b in branches)
        return native, python, nonempty

    def branch(self, depth):
        pieces = [self.piece(depth) for _ in range(self.rnd.choice([0, 1, 1, 2, 2, 3, 4]))]
        native = b"".join(p[0] for p in pieces)
        python = b"".join(p[1] for p in pieces)
        # A run of literal bytes followed by a repetition binds the last byte
        # only in both languages, so pieces simply follow each other.
        return native, python, any(p[2] for p in pieces)

    def piece(self, depth):
        native, python, nonempty = self.atom(depth)
        r = self.rnd.random()
        if r < 0.15 and nonempty:
            return native + b"*", b"(?:" + python + b")*", False
        if r < 0.27 and nonempty:
            return native + b"+", b"(?:" + python + b")+", True
        if r < 0.37:
            return native + b"?", b"(?:" + python + b")?", False
        return native, python, nonempty

    def atom(self, depth):
        r = self.rnd.random()
        if r < 0.45:
            c = self.rnd.choice(ALPHABET)
            return bytes([c]), re.escape(bytes([c])), True
        if r < 0.52:
            c = self.rnd.choice(b".-]\\x{")
            native = (b"\\" + bytes([c])) if c in META or self.rnd.random() < 0.3 else bytes([c])
            if c == ord("{"):
                native = b"\\{"  # a bare "{" may form a bound in Python
            return native, re.escape(bytes([c])), True
        if r < 0.60:
            return b".", b".", True
        if r < 0.72:
            return self.klass()
        if r < 0.76:
            return b"^", b"^", False
        if r < 0.80:
            return b"$", b"\\Z", False
        if depth < 3 and self.groups < 9:
            self.groups += 1
            native, python, nonempty = self.expr(depth + 1)
            return b"(" + native + b")", b"(" + python + b")", nonempty
        c = self.rnd.choice(ALPHABET)
        return bytes([c]), bytes([c]), True

    def klass(self):
        negate = self.rnd.random() < 0.3
        text = b""
        members = []
        if self.rnd.random() < 0.2:
            first = self.rnd.choice(b"]-")
            text += bytes([first])
            members.append(first)
        for _ in range(self.rnd.randint(1, 3)):
            if self.rnd.random() < 0.3:
                lo = self.rnd.choice(b"abc")
                hi = self.rnd.choice([c for c in b"abcx" if c >= lo])
                text += bytes([lo, ord("-"), hi])
                members.extend(range(lo, hi + 1))
            else:
                c = self.rnd.choice(b"abcx.\\")
                text += bytes([c])
                members.append(c)
        if self.rnd.random() < 0.15:
            text += b"-"
            members.append(ord("-"))
        native = b"[" + (b"^" if negate else b"") + text + b"]"
        python = b"[" + (b"^" if negate else b"") + b"".join(b"\\x%02x" % c for c in members) + b"]"
        return native, python, True


def c_string(data):
    out = []
    for c in data:
        if c in b'"\\?' or c < 0x20 or c >= 0x7F:
            out.append("\\%03o" % c)
        else:
            out.append(chr(c))
    return '"' + "".join(out) + '"'


def main():
    rnd = random.Random(SEED)
    rows = []
    seen = set()
    while len(rows) < ROWS:
        gen = Gen(rnd)
        native, python, _ = gen.expr(0)
        if native in seen and rnd.random() < 0.9:
            continue
        seen.add(native)
        compiled = re.compile(python, re.DOTALL)
        for _ in range(3):
            length = rnd.choice([0, 1, 2, 3, 4, 5, 6, 8, 10, 12])
            subject = bytes(rnd.choice(SUBJECT_BYTES) for _ in range(length))
            m = compiled.search(subject)
            spans = []
            if m is not None:
                spans = [m.span(i) for i in range(compiled.groups + 1)]
            spans += [(-1, -1)] * (10 - len(spans))
            rows.append((native, subject, m is not None, spans))
    print("// Generated by gen_native_table.py: do not edit.")
    print("// pattern, subject, matched, start and end offset of substrings 0 to 9 (-1: unset)")
    for native, subject, matched, spans in rows:
        flat = ", ".join("%d, %d" % s for s in spans)
        print("{%s, %s, %s, {%s}}," % (c_string(native), c_string(subject), "true" if matched else "false", flat))


if __name__ == "__main__":
    sys.exit(main())
