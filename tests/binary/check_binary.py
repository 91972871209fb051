#!/usr/bin/env python3
"""Checks what a built library consists of: its exports, what it needs from others, its instructions,
its tables and its sections.

usage: check_binary.py LIBRARY SOURCE_DIRECTORY [TOOL_PREFIX [LEVEL]]

TOOL_PREFIX is that of the binary tools (i686-w64-mingw32- for the DLL); LEVEL tells that the library
is one over SIMD registers: v3, v4 or neon. The last line is
'N passed, N failed'.
"""
import hashlib
import re
import struct
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

# Of the list "1 qelsAcos_32f_A11" ... "136 qelvmGetLibVersion".
SHIPPED = "6db7ae7f8cff18191f6fd8b06e8eaff8809f6c93d8fff7a9be02f942cee22c71"
CLASSES = ("32f_A11", "32f_A21", "32f_A24", "64f_A50", "64f_A53")

# Vector arithmetic, square roots, fused multiply-add, and everything of the x87 but moving a value:
# no instruction of these may stand in the library. By the machine's name in the ELF header.
X86 = (
    r"v?(add|sub|mul|div|sqrt|max|min|hadd|hsub|addsub|round|dp|rcp|rsqrt)p[sd]\b"
    r"|v?(sqrt|rsqrt|rcp)s[sd]\b|vfn?m(add|sub)\w*"
    r"|f(i?(add|sub|mul|div)r?p?|sqrt|sin|cos|sincos|p?tan|patan|2xm1|yl2x|yl2xp1|prem1?|scale|rndint)\w*\b"
)
FORBIDDEN = {
    "Advanced Micro Devices X86-64": X86,
    "Intel 80386": X86,
    "AArch64": r"f(n?madd|n?msub|sqrt|mla|mls)\b|f(add|sub|mul|div)\s+v",
    "RISC-V": r"f(n?madd|n?msub|sqrt)\.[sd]\b|vf\w+",
    "PowerPC64": r"f(n?madd|n?msub|sqrt)s?\b|xs(n?madd|n?msub|sqrt)\w*|xv\w*[ds]p\b|v\w+fp\b",
    "IBM S/390": r"(w?f)?(m[as]|sq)[de]b?r?\b|[vw]f(n?m[as]|sq|a|s|m|d)[ds]?b?\b",
}

FUSED = r"vfn?m(add|sub)\w*|vp?fmadd\w*"
X87 = X86[X86.index("|f(i?(add") + 1 :]
# Functions of the short roads of floats, and what only they may hold: the other functions' text is that
# of the plain library.
SHORT_ROAD = re.compile(r"^[0-9a-f]+ <[^>]*ShortPath[^>]*>:\n(?:.+\n)*", re.M)
APPROXIMATE = re.compile(r"\t(" + FUSED + r"|vr(sqrt|cp)(14)?[ps][sd])\b")
# Over SIMD registers: nothing fused, nothing of the x87, no instruction of a set that is not the level's.
FORBIDDEN_IN_LEVEL = {
    "v3": FUSED + r"|vr(sqrt|cp)[ps]s\b|" + X87 + r"|[^\n]*(%zmm|%k[0-7]|%[xy]mm(1[6-9]|2\d|3[01]))",
    "v4": FUSED + r"|vr(sqrt|cp)(14)?[ps][sd]\b|" + X87 + r"|vpmadd52|v?gf2p8|vp2intersect|vpdp\w+|vp(sh[lr]d|multishift|opcnt)\w*"
          r"|vp(compress|expand|erm|ermi2|ermt2)[bw]\b|v\w+(ph|sh|bf16)\b",
    "neon": r"f(n?madd|n?msub|mla|mls)\b",
}
LARGEST_LEVEL = 1_500_000  # bytes of code


class Checks:
    def __init__(self):
        self.passed = self.failed = 0

    def expect(self, name, wrong):
        """A check passes when nothing is wrong; `wrong` lists what is."""
        wrong = list(wrong)
        if wrong:
            self.failed += 1
            print(f"FAILED {name}: " + "; ".join(str(w) for w in wrong[:5]))
        else:
            self.passed += 1


def families(source):
    """(family, shape, reports) in the order of their names."""
    row = re.compile(r"^QELVM_FAMILY\((\w+), (\w+), ([\w| ]+),", re.M)
    text = (source / "families/families.inc").read_text()
    return [(m[1], m[2], m[3] != "Nothing") for m in row.finditer(text)]


def read_ordinals(source):
    """The frozen ordinal of every export."""
    row = re.compile(r"^QELVM_ORDINAL\((\d+), (\w+)\)$", re.M)
    return [(int(m[1]), m[2]) for m in row.finditer((source / "families/ordinals.inc").read_text())]


def check_ordinals(checks, rows, ordinals):
    shipped = "\n".join(f"{number} {name}" for number, name in ordinals[:136])
    checks.expect("ordinals 1 to 136 as they were shipped: lines of families/ordinals.inc never change; "
                  "restore it with git, and put new exports at its end",
                  [] if hashlib.sha256(shipped.encode()).hexdigest() == SHIPPED else ["another list"])
    checks.expect("ordinals count up", [number for i, (number, _) in enumerate(ordinals) if number != i + 1])
    names = {f"qels{family}_{c}" for family, *_ in rows for c in CLASSES} | {"qelvmGetLibVersion"}
    checks.expect("exports that families/families.inc or families/ordinals.inc lacks",
                  names ^ {name for _, name in ordinals})


class Binary:
    def __init__(self, path, prefix):
        self.path, self.prefix = path, prefix

    def run(self, tool, *options):
        command = [self.prefix + tool, *options, str(self.path)]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout

    def symbols(self):
        """(address, type, demangled name) of everything defined."""
        for line in self.run("nm", "-C", "--defined-only").splitlines():
            address, kind, name = line.split(maxsplit=2)
            yield int(address, 16), kind, name

    def instructions(self):
        return self.run("objdump", "-d", "--no-show-raw-insn")


def check_tables(checks, binary, rows, source):
    """Every export owns its name slot and its tables: a symbol for each, and each elsewhere."""
    owned = re.compile(r"qelvm::(?:\(anonymous namespace\)::)?([\w:]+)<.*?(\w+)_((?:32f|64f)_A\d\d)>$")
    owners, places = defaultdict(set), defaultdict(set)
    for address, kind, name in binary.symbols():
        match = owned.match(name)
        if match and kind.lower() in "rd":
            table, family, suffix = match.groups()
            owners["nameSlot" if table == "nameSlot" else "tables", family].add(suffix)
            places[table, family].add((suffix, address))
    for family, _, reports in rows:
        slots = owners["nameSlot", family]
        checks.expect(f"{family} name slots", slots ^ set(CLASSES if reports else ()))
        tables = owners["tables", family]
        kinds = re.search(r"^tables (.*)$", (source / f"families/{family}.txt").read_text(), re.M)
        needed = {c for c in CLASSES
                  if kinds is None or any(c.startswith(kind) for kind in kinds[1].split())}
        checks.expect(f"{family} tables: each of these exports owns some (families/{family}.txt, "
                      "line 'tables CLASSES', where not all have any)", needed - tables)
    addresses = defaultdict(list)
    for (table, family), entries in places.items():
        for suffix, address in entries:
            addresses[address].append(f"{table}<{family}_{suffix}>")
    checks.expect("tables apart", [names for names in addresses.values() if len(names) > 1])


def check_instructions(checks, binary, machine, level):
    code = binary.instructions()
    if level:
        packed = re.search(r"\tv(add|mul)pd|\tf(add|mul)\s+v", code)
        checks.expect("registers are used", [] if packed else ["no packed arithmetic"])
        if level == "v3":  # the first byte that only instructions of AVX-512 have
            raw = binary.run("objdump", "-dw")  # an instruction, a line
            checks.expect("AVX-512", re.findall(r"^\s*[0-9a-f]+:\t62 .*", raw, re.M))
        size = int(re.search(r"\.text\s+\w+\s+\w+\s+\w+\s+(\w+)", binary.run("readelf", "-SW"))[1], 16)
        checks.expect("size of the code", [size] if size >= LARGEST_LEVEL else [])
    if machine == "Intel 80386":
        # The report raises its flag in the x87 unit too: one product or quotient for each status.
        report = re.compile(r"(^[0-9a-f]+ <[^>]*(?:raiseFloatingException|reportElementError)[^>]*>:\n"
                            r"(?:.+\n)*)", re.M)
        raised = [re.findall(r"\t(f(?:mul|div)l)\b", body) for body in report.findall(code)]
        checks.expect("x87 in the report", [] if raised and all(
            not found or sorted(found) == ["fdivl"] * 2 + ["fmull"] * 2 for found in raised
        ) and any(raised) else [raised])
        code = report.sub(lambda body: re.sub(r"\tf(mul|div)l\b", "\tflag", body[1]), code)
    if level in ("v3", "v4"):
        roads = SHORT_ROAD.findall(code)
        fused = [body for body in roads if APPROXIMATE.search(body)]
        checks.expect("short roads use fused multiply-add", [] if len(fused) > 50 else [len(fused)])
        code = SHORT_ROAD.sub(lambda body: APPROXIMATE.sub("\tapproximate", body[0]), code)
    forbidden = FORBIDDEN_IN_LEVEL[level] if level else FORBIDDEN[machine]
    pattern = re.compile(r"^\s*[0-9a-f]+:\s+(" + forbidden + ")", re.M)
    checks.expect("instructions", {m[1] for m in pattern.finditer(code)})
    checks.expect("disassembled", [] if code.count("\n") > 500 else ["too little code"])


def check_elf(checks, binary, expected, level):
    header = binary.run("readelf", "-hW")
    machine = re.search(r"Machine:\s+(.*)", header)[1].strip()
    check_instructions(checks, binary, machine, level)

    exported = {
        line.split()[-1].split("@")[0]
        for line in binary.run("nm", "-D", "--defined-only").splitlines()
        if line.split()[-2] != "A"  # the version's own name
    }
    checks.expect("exports", exported ^ set(expected))
    checks.expect("symbols needed", binary.run("nm", "-u").split())
    dynamic = binary.run("readelf", "-dW")
    checks.expect("libraries needed", re.findall(r"\(NEEDED\).*", dynamic))
    checks.expect("soname", [] if "[libqelvmpx.so.5]" in dynamic else ["is not libqelvmpx.so.5"])

    segments = binary.run("readelf", "-lW")
    field = r"\s+0x([0-9a-f]+)"
    segment = re.compile(r"^\s+(\w+)" + 5 * field + r" ([R ][W ][E ])", re.M)
    spans = [(m[1], int(m[3], 16), int(m[6], 16), m[7]) for m in segment.finditer(segments)]
    read_only = [(start, start + size) for kind, start, size, _ in spans if kind == "GNU_RELRO"]
    unprotected = 8 if machine == "RISC-V" else 0  # the linker's own first word of .got
    writable = [
        hex(start)
        for kind, start, size, flags in spans
        if kind == "LOAD" and "W" in flags
        and not any(a <= start and start + size - unprotected <= b for a, b in read_only)
    ]
    checks.expect("writable data", writable)
    stack = [flags for kind, *_, flags in spans if kind == "GNU_STACK"]
    checks.expect("stack not executable", [] if stack and "E" not in stack[0] else stack or ["?"])


def check_pe(checks, binary, rows, expected):
    image = binary.path.read_bytes()
    pe = struct.unpack_from("<I", image, 0x3C)[0]
    machine, sections, _, _, _, optional_size, characteristics = struct.unpack_from(
        "<HHIIIHH", image, pe + 4)
    optional = pe + 24
    wide = machine == 0x8664
    check_instructions(checks, binary, "Advanced Micro Devices X86-64" if wide else "Intel 80386", None)
    entry = struct.unpack_from("<I", image, optional + 16)[0]
    dll_characteristics = struct.unpack_from("<H", image, optional + 70)[0]
    directories = [struct.unpack_from("<II", image, optional + (112 if wide else 96) + 8 * i) for i in range(16)]
    checks.expect("machine", [] if machine in (0x14C, 0x8664) else [hex(machine)])
    checks.expect("is a DLL, relocatable",
                  [hex(characteristics)] if not characteristics & 0x2000 or characteristics & 1 else [])
    checks.expect("relocations", [] if directories[5][1] > 0 else ["none"])
    # DYNAMIC_BASE and NX_COMPAT; HIGH_ENTROPY_VA, or NO_SEH where handlers are not in tables.
    wanted = 0x160 if wide else 0x540
    checks.expect("DLL characteristics",
                  [hex(dll_characteristics)] if dll_characteristics != wanted else [])
    checks.expect("unwind data", [] if (directories[3][1] > 0) == wide else [directories[3]])
    # The 16-bit words but for the field itself, modulo 65535, and the length.
    field = optional + 64
    total = sum(int.from_bytes(image[i : i + 2], "little")
                for i in range(0, len(image), 2) if not field <= i < field + 4)
    stored = struct.unpack_from("<I", image, field)[0]
    checks.expect("checksum", [hex(stored)] if stored != (total - 1) % 0xFFFF + 1 + len(image) else [])

    table = []  # (name, virtual address, virtual size, file offset, flags)
    for i in range(sections):
        raw = image[optional + optional_size + 40 * i :][:40]
        size, address, _, offset = struct.unpack_from("<IIII", raw, 8)
        table.append((raw[:8].rstrip(b"\0").decode(), address, size, offset,
                      struct.unpack_from("<I", raw, 36)[0]))
    checks.expect("writable data", [name for name, *_, flags in table if flags & 0x80000000])

    def at(address):
        for _, start, size, offset, _ in table:
            if start <= address < start + max(size, 1):
                return address - start + offset
        raise ValueError(f"address {address:#x} in no section")

    imports, size = directories[1]
    checks.expect("imports",
                  [] if size == 0 or image[at(imports) : at(imports) + 20] == bytes(20) else ["some"])

    (base, addresses, names, functions_at, names_at, ordinals_at) = struct.unpack_from(
        "<IIIIII", image, at(directories[0][0]) + 16)
    text = lambda address: image[at(address) :].split(b"\0", 1)[0].decode()
    functions = struct.unpack_from(f"<{addresses}I", image, at(functions_at))
    ordinals = struct.unpack_from(f"<{names}H", image, at(ordinals_at))
    exported = {
        text(address): base + ordinal
        for address, ordinal in zip(struct.unpack_from(f"<{names}I", image, at(names_at)), ordinals)
    }
    checks.expect("exports and ordinals", set(exported.items()) ^ set(expected.items()))
    definition = binary.path.with_name("qelvmpx.def")
    if definition.exists():
        defined = re.findall(r"^  (\w+)(?:@\d+)? @(\d+)", definition.read_text(), re.M)
        checks.expect("qelvmpx.def", {(name, int(n)) for name, n in defined} ^ set(expected.items()))
    used = {base + i for i, address in enumerate(functions) if address}
    checks.expect("ordinals without a name", used ^ set(expected.values()))

    if not wide:
        check_callee_pops(checks, binary, rows, exported, {
            name: struct.unpack_from("<I", image, optional + 28)[0] + functions[ordinal - base]
            for name, ordinal in exported.items()})

    resources = image[at(directories[2][0]) :][: directories[2][1]]
    value = lambda key, content: (key + "\0").encode("utf-16le") in resources and (
        content + "\0").encode("utf-16le") in resources
    wanted = {"FileVersion": "5,0,11,35", "ProductVersion": "v5.0", "InternalName": "qelvmpx.dll",
              "OriginalFilename": "qelvmpx.dll"}
    checks.expect("version texts", [k for k, v in wanted.items() if not value(k, v)])
    fixed = resources.find(struct.pack("<I", 0xFEEF04BD))
    checks.expect("version numbers", [] if fixed >= 0 and struct.unpack_from(
        "<II", resources, fixed + 8) == (5 << 16, 11 << 16 | 35) else ["differ"])
    code = image[at(entry) :][:16]
    returns = b"\xc3" if wide else b"\xc2\x0c\0"  # stdcall removes three arguments
    checks.expect("entry returns 1",
                  [] if code.startswith(b"\xb8\x01\0\0\0" + returns) else [code.hex()])


def check_callee_pops(checks, binary, rows, exported, addresses):
    shapes = {family: shape for family, shape, _ in rows}
    functions = re.split(r"^([0-9a-f]+) <[^>]*>:$", binary.instructions(), flags=re.M)
    bodies = dict(zip((int(a, 16) for a in functions[1::2]), functions[2::2]))
    wrong = []
    for name in exported:
        if name == "qelvmGetLibVersion":
            bytes_removed = None
        else:
            family, kind = re.match(r"qels(\w+?)_(32f|64f)", name).groups()
            wide = shapes[family] == "SourceAndScalar" and kind == "64f"
            bytes_removed = 12 if shapes[family] == "OneSource" else 20 if wide else 16
        returns = set(re.findall(r"\bret[ \t]*(\$0x[0-9a-f]+)?", bodies.get(addresses[name], "")))
        if returns != {"" if bytes_removed is None else f"$0x{bytes_removed:x}"}:
            wrong.append(f"{name} {returns}")
    checks.expect("callee removes the arguments", wrong)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    path, source = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    binary = Binary(path, sys.argv[3] if len(sys.argv) > 3 else "")
    rows = families(source)
    checks = Checks()
    ordinals = read_ordinals(source)
    check_ordinals(checks, rows, ordinals)
    expected = {name: number for number, name in ordinals}
    if path.read_bytes()[:2] == b"MZ":
        check_pe(checks, binary, rows, expected)
    else:
        check_elf(checks, binary, expected, sys.argv[4] if len(sys.argv) > 4 else None)
    check_tables(checks, binary, rows, source)
    print(f"{checks.passed} passed, {checks.failed} failed")
    return checks.failed != 0


if __name__ == "__main__":
    sys.exit(main())
