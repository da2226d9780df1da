"""Reads strings, arrays and pointers from the program's memory, which may be corrupt."""

import re
from itertools import islice

import gdb

# Raised when memory, type or layout is invalid.
READ_ERRORS = (gdb.error, AttributeError, LookupError, OverflowError, TypeError, ValueError)
UNREADABLE = "<unreadable>"

STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
_NO_LIMIT = 1 << 24
# GDB treats a longer string as empty.
_LONGEST = (1 << 31) - 1
_ESCAPES = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}


class Text:
    """A contiguous range of characters."""

    def __init__(self, start, length):
        self.start = start
        self.length = int(length)

    @staticmethod
    def of(string):
        """Returns the content of a std::string."""
        return Text(string["_M_dataplus"]["_M_p"], string["_M_string_length"])

    def lazily(self):
        """Returns a lazy string, which GDB reads, quotes and truncates when it prints it."""
        sound = 0 <= self.length <= _LONGEST
        return self.start.lazy_string(length=self.length) if sound else UNREADABLE

    def quoted(self):
        """Returns the text in quotes, truncated to GDB's limit."""
        shown = min(self.length, limit())
        memory = gdb.selected_inferior().read_memory(self.start, shown) if shown else b""
        cut = "..." if shown < self.length else ""
        return f'"{_escape(bytes(memory))}"{cut}'


class Array:
    """A contiguous range of elements. The length is None if the bounds are invalid."""

    def __init__(self, start, end):
        size = start.type.strip_typedefs().target().sizeof
        length, rest = divmod(int(end) - int(start), size)
        self.start = start
        self.length = length if length >= 0 and rest == 0 else None

    @staticmethod
    def of(vector):
        """Returns the content of a std::vector."""
        bounds = vector["_M_impl"]
        return Array(bounds["_M_start"], bounds["_M_finish"])

    def __iter__(self):
        for i in range(self.length or 0):
            element = (self.start + i).dereference()
            element.fetch_lazy()
            yield element

    def count(self, one, many):
        """Returns the number of elements with its unit."""
        if self.length is None:
            return f"{many} {UNREADABLE}"
        return f"{self.length} {one if self.length == 1 else many}"

    def quoted(self):
        """Returns an array of std::string in braces, truncated to GDB's limit."""
        if self.length is None:
            return UNREADABLE
        try:
            shown = [quote(string) for string in islice(self, limit())]
        except READ_ERRORS:
            return UNREADABLE
        cut = "..." if len(shown) < self.length else ""
        return f"{{{', '.join(shown)}}}{cut}"


class Pointers(Array):
    """The pointers that are not null in an array of RCPtr."""

    def __init__(self, array):
        self._elements = [element for element in array if element["m_object"]]
        self.length = None if array.length is None else len(self._elements)

    def __iter__(self):
        return iter(self._elements)


def limit():
    """Returns the number of characters or elements that GDB prints."""
    return print_option("max_elements", "print elements") or _NO_LIMIT


def print_option(name, setting):
    """Returns an option of the running command, or the global setting in an older GDB."""
    if hasattr(gdb, "print_options"):
        return gdb.print_options()[name]
    return gdb.parameter(setting)


def quote(string):
    """Returns a std::string in quotes."""
    try:
        return Text.of(string).quoted()
    except READ_ERRORS:
        return UNREADABLE


def target_of(pointer):
    """Returns the object that a pointer points to, for GDB to print."""
    if not pointer:
        return "null"
    try:
        target = pointer.dereference()
        target.fetch_lazy()
        return target
    except READ_ERRORS:
        return f"{int(pointer):#x} {UNREADABLE}"


def class_of(pointer):
    """Returns the class name of a polymorphic object, from the symbol of its vtable."""
    address = gdb.lookup_type("void").pointer()
    table = gdb.Value(int(pointer)).cast(address.pointer()).dereference()
    _, found, name = table.format_string(symbols=True).partition("<vtable for ")
    if not found:
        return "of unknown class"
    return re.sub(f"{STRING}( (?=>))?", "std::string", name.rpartition("+")[0])


# GDB fails on a character that its output charset can't represent.
def _escape(raw):
    charset = gdb.host_charset() if hasattr(gdb, "host_charset") else "ascii"
    return "".join(map(_escape_one, raw.decode(charset, "surrogateescape")))


def _escape_one(char):
    if char in _ESCAPES:
        return _ESCAPES[char]
    return char if char.isprintable() else f"\\x{ord(char) & 0xFF:02x}"
