"""What makes faults harder to use, in programs and libraries for Linux and Windows.

    hardening.py FILE... [--fortified]

`--fortified` also asks for checked forms of the C library's functions, which only
optimized builds have, and for what goes with them.
"""

import re
import struct
import sys
from collections.abc import Iterator
from pathlib import Path

import pefile
from elftools.elf.dynamic import DynamicSection
from elftools.elf.elffile import ELFFile
from elftools.elf.sections import SymbolTableSection

# DT_FLAGS, DT_FLAGS_1 and program headers, by the System V and GNU interfaces.
DF_BIND_NOW, DF_1_NOW, DF_1_PIE = 0x8, 0x1, 0x08000000
EXECUTABLE, WRITABLE = 1, 2
X86_SHADOW_STACK = 2  # of GNU_PROPERTY_X86_FEATURE_1_AND

CHECKED = "checked C library functions"


def is_binary(path: Path) -> bool:
    with path.open("rb") as file:
        magic = file.read(4)
    return magic == b"\x7fELF" or (magic[:2] == b"MZ" and path.suffix in (".exe", ".dll"))


def shadow_stack(elf: ELFFile) -> bool:
    """Whether the file says that it gets along with a second stack of return addresses."""
    section = elf.get_section_by_name(".note.gnu.property")
    data = section.data() if section else b""
    found = data.find(struct.pack("<II", 0xC0000002, 4))
    return found >= 0 and bool(struct.unpack_from("<I", data, found + 8)[0] & X86_SHADOW_STACK)


def in_elf(path: Path, fortified: bool) -> dict[str, bool]:
    with path.open("rb") as file:
        elf = ELFFile(file)
        segments = {each["p_type"]: each["p_flags"] for each in elf.iter_segments()}
        loaded = [each["p_flags"] for each in elf.iter_segments() if each["p_type"] == "PT_LOAD"]
        dynamic = elf.get_section_by_name(".dynamic")
        assert isinstance(dynamic, DynamicSection), f"{path}: not linked dynamically"
        tags = {tag.entry.d_tag: tag for tag in dynamic.iter_tags()}
        flags = tags["DT_FLAGS"].entry.d_val if "DT_FLAGS" in tags else 0
        flags_1 = tags["DT_FLAGS_1"].entry.d_val if "DT_FLAGS_1" in tags else 0
        paths = [entry for tag in tags.values() if tag.entry.d_tag in ("DT_RPATH", "DT_RUNPATH")
                 for entry in getattr(tag, tag.entry.d_tag[3:].lower()).split(":")]
        symbols = elf.get_section_by_name(".dynsym")
        assert isinstance(symbols, SymbolTableSection)
        names = {symbol.name for symbol in symbols.iter_symbols()}
        checked = any(re.fullmatch(r"__\w+(?<!__stack)_chk", name) for name in names)
        return {
            "a run path of folders beside the file alone":
                all(re.fullmatch(r"\$ORIGIN(/.+)?", entry) for entry in paths),
            "a stack without code": not segments.get("PT_GNU_STACK", EXECUTABLE) & EXECUTABLE,
            "relocations made read-only": "PT_GNU_RELRO" in segments,
            "all functions bound at load": bool(flags & DF_BIND_NOW or flags_1 & DF_1_NOW),
            "a base that changes": elf["e_type"] == "ET_DYN" and
                ("PT_INTERP" not in segments or bool(flags_1 & DF_1_PIE)),
            "no segment both writable and executable":
                not any(flags & WRITABLE and flags & EXECUTABLE for flags in loaded),
            "guarded return addresses": "__stack_chk_fail" in names,
            CHECKED: checked or not fortified,
            "a shadow stack": not fortified or elf["e_machine"] != "EM_X86_64" or
                shadow_stack(elf),
        }


def in_pe(path: Path) -> dict[str, bool]:
    pe = pefile.PE(str(path), fast_load=True)
    pe.parse_data_directories([pefile.DIRECTORY_ENTRY["IMAGE_DIRECTORY_ENTRY_IMPORT"]])
    header = pe.OPTIONAL_HEADER
    relocations = header.DATA_DIRECTORY[pefile.DIRECTORY_ENTRY["IMAGE_DIRECTORY_ENTRY_BASERELOC"]]
    imported = {each.name for library in pe.DIRECTORY_ENTRY_IMPORT for each in library.imports}
    return {
        "data without code": header.IMAGE_DLLCHARACTERISTICS_NX_COMPAT,
        "a base that changes": header.IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE and
            relocations.Size > 0 and not pe.FILE_HEADER.IMAGE_FILE_RELOCS_STRIPPED,
        "a base from the whole address space":
            header.IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA or not pe.PE_TYPE == 0x20B,
        # Where the guard comes from.
        "guarded return addresses": b"CryptGenRandom" in imported,
        "no section both writable and executable": not any(
            each.IMAGE_SCN_MEM_WRITE and each.IMAGE_SCN_MEM_EXECUTE for each in pe.sections),
    }


def lacks(path: Path, fortified: bool) -> list[str]:
    """What the file does without."""
    found = in_pe(path) if path.suffix in (".exe", ".dll") else in_elf(path, fortified)
    return [what for what, there in found.items() if not there]


def needs(path: Path) -> Iterator[str]:
    """The libraries that the file names."""
    if path.suffix in (".exe", ".dll"):
        pe = pefile.PE(str(path), fast_load=True)
        pe.parse_data_directories([pefile.DIRECTORY_ENTRY["IMAGE_DIRECTORY_ENTRY_IMPORT"]])
        yield from (entry.dll.decode().lower() for entry in pe.DIRECTORY_ENTRY_IMPORT)
        return
    with path.open("rb") as file:
        for tag in ELFFile(file).get_section_by_name(".dynamic").iter_tags("DT_NEEDED"):
            yield tag.needed


def main() -> int:
    fortified = "--fortified" in sys.argv
    code = 0
    for path in [Path(each) for each in sys.argv[1:] if each != "--fortified"]:
        missing = lacks(path, fortified)
        print(f"{path}: " + (f"lacks {', '.join(missing)}" if missing else "has all of it"))
        code |= bool(missing)
    return code


if __name__ == "__main__":
    sys.exit(main())
