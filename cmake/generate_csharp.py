#!/usr/bin/env python3
"""Writes the C# declarations of the interface: generate_csharp.py [--check] HEADERS NAMES OUTPUT

HEADERS is include/kiv_base, NAMES the list of exported names. With --check it compares instead, and
looks through what is there on its own: each exported name has one declaration, which is cdecl.
"""
import pathlib
import re
import sys

FAMILIES = ["base", "containers", "event", "protocol", "http", "system"]
# They hold a lock of the system, whose size is nobody's business: zu_sem_malloc and zu_log_malloc
# make them.
OPAQUE = {"zu_sem", "zu_log"}
SCALARS = {
    "void": "void", "int": "int", "char": "byte", "int32_t": "int", "uint32_t": "uint",
    "int64_t": "long", "uint64_t": "ulong", "uint16_t": "ushort", "int8_t": "sbyte", "uint8_t": "byte",
    "uintptr_t": "UIntPtr", "intptr_t": "IntPtr", "zu_time": "IntPtr",
}
# The reserved words of C#; those that are words in a place alone can be names.
KEYWORDS = set("""
    abstract as base bool break byte case catch char checked class const continue decimal
    default delegate do double else enum event explicit extern false finally fixed float for
    foreach goto if implicit in int interface internal is lock long namespace new null object
    operator out override params private protected public readonly ref return sbyte sealed short
    sizeof stackalloc static string struct switch this throw true try typeof uint ulong
    unchecked unsafe ushort using virtual void volatile while
""".split())

HEAD = """\
// The C interface of kiv_base for C#, made by cmake/generate_csharp.py from the headers: change those
// and run it again. What the functions do stands there.
//
// Pointers are IntPtr: handles, buffers, and texts, which are UTF-8 with a zero behind them and,
// where a function hands out a new one, freed with _zu_free. What takes a callback takes a delegate:
// keep a reference to it for as long as the library may call, and let no exception out of it.
// Functions that follow printf take the format alone; double each "%" in it.
using System;
using System.Runtime.InteropServices;

namespace KivBase
{
"""


def clean(text):
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    # Continued directives first; what is packed stays marked.
    text = re.sub(r"\\\n", " ", text)
    text = re.sub(r"#pragma pack\(push, 1\)", "PACKED_BEGIN;", text)
    text = re.sub(r"#pragma pack\(pop\)", "PACKED_END;", text)
    text = re.sub(r"^\s*#.*$", "", text, flags=re.M)
    return re.sub(r"KIV_PRINTF\([^)]*\)", "", text)


def name_of(name):
    return "@" + name if name in KEYWORDS else name


class Interface:
    def __init__(self, headers):
        self.constants, self.delegates, self.records, self.functions = [], {}, [], {}
        texts = [clean((headers / f"{family}.h").read_text()) for family in FAMILIES]
        for text in texts:
            for match in re.finditer(r"typedef\s+([\w\s*]+?)\(KIV_CALL\*\s*(\w+)\)\(([^)]*)\);", text):
                self.delegates[match.group(2)] = (match.group(1), match.group(3))
        for text in texts:
            self.read_constants(text)
            self.read_records(text)
            for match in re.finditer(r"KIV_API\s+([^;{}()]*?)KIV_CALL\s+(\w+)\(([^)]*)\)", text):
                self.functions[match.group(2)] = (match.group(1), match.group(3))

    def type_of(self, declared):
        words = re.sub(r"\b(const|struct)\b", "", declared).split()
        text = "".join(words)
        if "*" in text:
            return "IntPtr"
        if text in self.delegates or any(text == record[0] for record in self.records):
            return text
        return SCALARS[text]

    def read_constants(self, text):
        for body in re.findall(r"\benum\s*\{([^}]*)\}", text):
            for item in filter(None, (part.strip() for part in body.split(","))):
                self.constants.append(re.match(r"(\w+)\s*=\s*(\d+)$", item).groups())

    def read_records(self, text):
        packed = False
        pattern = r"PACKED_BEGIN|PACKED_END|typedef struct (\w+) \{(.*?)\}\s*\w+;"
        for match in re.finditer(pattern, text, flags=re.S):
            if match.group(1) is None:
                packed = match.group(0) == "PACKED_BEGIN"
            elif match.group(1) not in OPAQUE:
                fields = [field.strip() for field in match.group(2).split(";") if field.strip()]
                self.records.append((match.group(1), packed, [self.field(f) for f in fields]))

    def field(self, text):
        callback = re.match(r".*\(KIV_CALL\*\s*(\w+)\)", text, flags=re.S)
        if callback:
            return f"public IntPtr {name_of(callback.group(1))};"
        declared, name, count = re.match(r"(.*?)(\w+)(?:\[(\d+)\])?$", text, flags=re.S).groups()
        kind = self.type_of(declared)
        if count is None:
            return f"public {kind} {name_of(name)};"
        return (f"[MarshalAs(UnmanagedType.ByValArray, SizeConst = {count})] "
                f"public {kind}[] {name_of(name)};")

    def parameters(self, text):
        result = []
        for part in (part.strip() for part in text.split(",")):
            if part in ("void", "..."):
                continue
            declared, name = re.match(r"(.*?)(\w+)$", part, flags=re.S).groups()
            result.append(f"{self.type_of(declared)} {name_of(name)}")
        return ", ".join(result)

    def render(self, names):
        missing = [name for name in names if name not in self.functions]
        beyond = [name for name in self.functions if name not in names]
        if missing or beyond:
            sys.exit(f"in the list alone: {missing}; in the headers alone: {beyond}")
        cdecl = "CallingConvention.Cdecl"
        out = [HEAD]
        for name, (result, parameters) in self.delegates.items():
            out.append(f"    [UnmanagedFunctionPointer({cdecl})]\n"
                       f"    public delegate {self.type_of(result)} {name}"
                       f"({self.parameters(parameters)});\n\n")
        for name, packed, fields in self.records:
            pack = ", Pack = 1" if packed else ""
            out.append(f"    [StructLayout(LayoutKind.Sequential{pack})]\n"
                       f"    public struct {name}\n    {{\n")
            out += [f"        {field}\n" for field in fields]
            out.append("    }\n\n")
        out.append('    public static class Native\n    {\n'
                   '        public const string Library = "kiv_base";\n\n')
        out += [f"        public const int {name} = {value};\n" for name, value in self.constants]
        for name in names:
            result, parameters = self.functions[name]
            out.append(f"\n        [DllImport(Library, CallingConvention = {cdecl})]\n"
                       f"        public static extern {self.type_of(result)} {name}"
                       f"({self.parameters(parameters)});\n")
        out.append("    }\n}\n")
        return "".join(out)


def check_names(text, names):
    """Without what reads the headers: so that a fault there shows, too."""
    found = re.findall(r"\[DllImport\(Library, CallingConvention = CallingConvention\.Cdecl\)\]\s+"
                       r"public static extern \w+ (\w+)\(([^)]*)\);", text)
    allowed = r"(?:int|uint|long|ulong|short|ushort|byte|IntPtr|UIntPtr|\w+_fn|zu_dir1_callback) @?\w+"
    for name, parameters in found:
        if not all(re.fullmatch(allowed, p) for p in filter(None, parameters.split(", "))):
            sys.exit(f"{name} takes what is no fixed width, pointer or callback: {parameters}")
    if sorted(name for name, _ in found) != sorted(names):
        sys.exit("the declarations are not those of the exported names")
    delegates = text.count("public delegate ")
    if text.count("[UnmanagedFunctionPointer(CallingConvention.Cdecl)]") != delegates:
        sys.exit("a callback is not cdecl")


def main():
    arguments = sys.argv[1:]
    is_check = arguments[:1] == ["--check"]
    headers, names_file, output = (pathlib.Path(path) for path in arguments[is_check:])
    names = [line for line in names_file.read_text().split("\n") if re.match(r"[A-Za-z_]", line)]
    text = Interface(headers).render(names)
    if not is_check:
        output.write_text(text)
    elif output.read_text() != text:
        sys.exit(f"{output} is not what the headers say: run cmake/generate_csharp.py")
    check_names(output.read_text(), names)


main()
