#!/usr/bin/env python3
"""Compares what the compiler made of the pairs of face_cost.cpp: check_cost.py OBJDUMP OBJECT

The C++ face may take no instruction more than plain C, makes the same calls in the same order, and
mostly comes out identical. Padding does not count, and which register a value waits in is the
compiler's business.
"""
import re
import subprocess
import sys

PAIRS = [
    ("listen_face", "listen_c"),
    ("wait_face", "wait_c"),
    ("has_user_face", "has_user_c"),
    ("greet_face", "greet_c"),
    # The functions that the library calls.
    (r"::call<.*EchoFace::on_accept\b", "accept_c"),
    (r"::call<.*EchoFace::on_read\b", "read_c"),
    (r"::call<.*EchoFace::on_close\b", "close_c"),
    (r"::call<.*wait_face\b", "timer_c"),
]


def functions(objdump, path):
    """Instructions and relocations of each function, by its demangled name."""
    text = subprocess.run([objdump, "-dr", "-C", "--no-show-raw-insn", "--no-addresses", path],
                          capture_output=True, text=True, check=True).stdout
    found = {}
    for block in text.split("\n\n"):
        head = re.match(r"\s*<(.*)>:\n", block)
        if head:
            found[head.group(1)] = [line.strip() for line in block[head.end():].splitlines()]
    return found


def normal(lines):
    """The instructions without padding, and targets without the names and places around them."""
    code = []
    for line in lines:
        line = re.sub(r"<.*", "<>", line)
        line = re.sub(r"-?0x[0-9a-f]+\(%rip\)", "(%rip)", line)
        if line and not re.match(r"((data16 |cs )*nop|xchg +%ax,%ax)", line):
            code.append(line)
    return code


def relocations(code):
    return [line.split()[1] for line in code if line.startswith("R_") and ".LC" not in line]


def main():
    code = functions(*sys.argv[1:])
    wrong = 0
    for face_name, c_name in PAIRS:
        faces = [lines for name, lines in code.items()
                 if re.match(face_name + "$" if "::" not in face_name else ".*" + face_name, name)]
        if len(faces) != 1 or c_name not in code:
            print(f"{face_name}: {len(faces)} functions where there is one to be")
            wrong += 1
            continue
        face, plain = normal(faces[0]), normal(code[c_name])
        count, plain_count = (sum(not line.startswith("R_") for line in lines)
                              for lines in (face, plain))
        right = count <= plain_count and relocations(face) == relocations(plain)
        wrong += not right
        same = "identical" if face == plain else "other registers or order" if right else "WRONG"
        print(f"{c_name}: {count} instructions, in C {plain_count}: {same}")
        if not right:
            print("\n".join(["-- face"] + face + ["-- C"] + plain))
    return 1 if wrong else 0


sys.exit(main())
