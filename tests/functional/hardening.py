#!/usr/bin/python3
"""What the system needs to keep a fault from becoming a hole, read off the executable: it reads what strangers send.

Only the optimised build that is installed is hardened; VLMR_HARDENED=0 says that another one is tested. The Windows executable's
flags stand in windows_program.py.
"""

import os

import framework  # first: it makes the other modules known
import elf_file
from elf_file import ElfFile

BIND_NOW = 8
NOW, PIE = 1, 0x08000000
# Functions of the C library that have a checked form, whatever they are called with.
CHECKED = {"printf", "fprintf", "vprintf", "vfprintf", "sprintf", "vsprintf", "gets", "longjmp"}
# What a function begins with so that the processor takes it for the aim of an indirect call.
END_BRANCH = bytes.fromhex("f30f1efa")


def program(t):
    if os.environ.get("VLMR_HARDENED") == "0":
        raise framework.Unfit("only the release build is hardened")
    return ElfFile(t.executable)


@framework.only_on("linux", "it is about an ELF file")
def test_the_program_lies_at_another_address_in_each_run(t):
    elf = program(t)
    assert elf.kind == elf_file.SHARED_OBJECT and elf.dynamic_value(elf_file.FLAGS_1) & PIE
    assert not elf.dynamic_value(elf_file.TEXTREL), "its code need not be written to for that"


@framework.only_on("linux", "it is about an ELF file")
def test_the_tables_of_addresses_are_filled_at_the_start_and_closed(t):
    elf = program(t)
    assert elf.segments_of(elf_file.RELRO), elf.segments
    assert elf.dynamic_value(elf_file.FLAGS) & BIND_NOW and elf.dynamic_value(elf_file.FLAGS_1) & NOW


@framework.only_on("linux", "it is about an ELF file")
def test_nothing_is_writable_and_executable(t):
    elf = program(t)
    (stack,) = elf.segments_of(elf_file.STACK)
    assert not stack[1] & elf_file.EXECUTABLE
    both = elf_file.WRITABLE | elf_file.EXECUTABLE
    assert not [segment for segment in elf.segments_of(elf_file.LOAD) if segment[1] & both == both]


@framework.only_on("linux", "it is about an ELF file")
def test_stack_and_buffers_are_checked(t):
    imports = program(t).imports()
    assert "__stack_chk_fail" in imports
    assert [name for name in CHECKED if f"__{name}_chk" in imports], imports
    assert not imports & CHECKED, imports & CHECKED


@framework.only_on("linux", "it is about an ELF file")
def test_every_function_that_is_called_through_a_pointer_can_be_told_by_the_processor(t):
    # The mark of the whole file is missing where the C library's own start files lack it (Debian 12), so each is looked at.
    elf = program(t)
    pointers = elf.pointers_to_code()
    assert len(pointers) > 100, "the virtual functions at least"
    without = [hex(address) for address in sorted(pointers) if elf.at(address, 4) != END_BRANCH]
    assert not without, without


@framework.only_on("linux", "it is about an ELF file")
def test_libraries_come_from_the_system_folders_only(t):
    elf = program(t)
    assert not elf.dynamic_value(elf_file.RPATH) and not elf.dynamic_value(elf_file.RUNPATH)


if __name__ == "__main__":
    framework.main()
