"""Reads strings, arrays and pointers in the program's memory, and trusts none of them."""

import re
from itertools import islice

import gdb

# What reading raises where memory, type or layout isn't what it should be.
READ_ERRORS = (gdb.error, AttributeError, LookupError, OverflowError, TypeError, ValueError)
UNREADABLE = "<unreadable>"

STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
_NO_LIMIT = 1 << 24
# GDB takes a longer text for an empty one.
_LONGEST = (1 << 31) - 1
_ESCAPES = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}


class Text:
    """Characters one behind the other."""

    def __init__(self, start, length):
        self.start = start
        self.length = int(length)

    @staticmethod
    def of(string):
        """What a std::string holds."""
        return Text(string["_M_dataplus"]["_M_p"], string["_M_string_length"])

    def lazily(self):
        """For GDB to read and quote when it comes to print it, as far as it prints texts."""
        sound = 0 <= self.length <= _LONGEST
        return self.start.lazy_string(length=self.length) if sound else UNREADABLE

    def quoted(self):
        """In quotes, as far as GDB prints texts."""
        shown = min(self.length, limit())
        memory = gdb.selected_inferior().read_memory(self.start, shown) if shown else b""
        cut = "..." if shown < self.length else ""
        return f'"{_escape(bytes(memory))}"{cut}'


class Array:
    """Elements one behind the other. Where the bounds make no sense the length is None."""

    def __init__(self, start, end):
        size = start.type.strip_typedefs().target().sizeof
        length, rest = divmod(int(end) - int(start), size)
        self.start = start
        self.length = length if length >= 0 and rest == 0 else None

    @staticmethod
    def of(vector):
        """What a std::vector holds."""
        bounds = vector["_M_impl"]
        return Array(bounds["_M_start"], bounds["_M_finish"])

    def __iter__(self):
        for i in range(self.length or 0):
            element = (self.start + i).dereference()
            element.fetch_lazy()
            yield element

    def count(self, one, many):
        """The number of elements in words."""
        if self.length is None:
            return f"{many} {UNREADABLE}"
        return f"{self.length} {one if self.length == 1 else many}"

    def quoted(self):
        """An array of std::string in braces, as far as GDB prints arrays."""
        if self.length is None:
            return UNREADABLE
        try:
            shown = [quote(string) for string in islice(self, limit())]
        except READ_ERRORS:
            return UNREADABLE
        cut = "..." if len(shown) < self.length else ""
        return f"{{{', '.join(shown)}}}{cut}"


def limit():
    """How many characters or elements GDB prints."""
    return print_option("max_elements", "print elements") or _NO_LIMIT


def print_option(name, setting):
    """How the command that is running prints, as far as this GDB tells more than the setting."""
    if hasattr(gdb, "print_options"):
        return gdb.print_options()[name]
    return gdb.parameter(setting)


def quote(string):
    """A std::string in quotes."""
    try:
        return Text.of(string).quoted()
    except READ_ERRORS:
        return UNREADABLE


def target_of(pointer):
    """The object behind a pointer, for GDB to print."""
    if not pointer:
        return "null"
    try:
        target = pointer.dereference()
        target.fetch_lazy()
        return target
    except READ_ERRORS:
        return f"{int(pointer):#x} {UNREADABLE}"


def class_of(pointer):
    """The name of the class of a polymorphic object, from the symbol of its virtual table."""
    address = gdb.lookup_type("void").pointer()
    table = gdb.Value(int(pointer)).cast(address.pointer()).dereference()
    _, found, name = table.format_string(symbols=True).partition("<vtable for ")
    if not found:
        return "of unknown class"
    return re.sub(f"{STRING}( (?=>))?", "std::string", name.rpartition("+")[0])


# GDB fails on a character that its output has no place for.
def _escape(raw):
    charset = gdb.host_charset() if hasattr(gdb, "host_charset") else "ascii"
    return "".join(map(_escape_one, raw.decode(charset, "surrogateescape")))


def _escape_one(char):
    if char in _ESCAPES:
        return _ESCAPES[char]
    return char if char.isprintable() else f"\\x{ord(char) & 0xFF:02x}"
