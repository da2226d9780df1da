"""Compares what GDB prints for the objects of program.cpp with what it should; addresses are 0x.

It looks at a core file of the program, in which nothing can be called.
"""

import os
import re

import gdb

EXPECTED = {
    "none": "null",
}
BROKEN = "pointer weak text number array variant tree table row source".split()
FILLINGS = ("zeros", "letters", "ones")


def stop_in_core(path):
    for command in ("break Show", "run", f"gcore {path}", "kill", f"core-file {path}", "up"):
        gdb.execute(command, to_string=True)


def show(expression):
    text = gdb.execute(f"output {expression}", to_string=True)
    return re.sub(r"0x[0-9a-f]+", "0x", text)


def main():
    gdb.execute("set confirm off")
    stop_in_core(os.environ["ZEL_CORE_FILE"])
    failures = 0
    for expression, expected in EXPECTED.items():
        shown = show(expression)
        if shown != expected:
            failures += 1
            print(f"{expression}\n  is       {shown}\n  expected {expected}")
    gdb.execute(f"quit {min(failures, 1)}")


main()
