"""Variant and VariantBase."""

import gdb

from .memory import STRING, Array, Text, class_of, quote
from .view import ListView

# Type name and C++ type of an element, by code.
_ELEMENTS = {
    0x11: ("U8", "unsigned char"),
    0x12: ("U16", "unsigned short"),
    0x14: ("U32", "unsigned int"),
    0x18: ("U64", "unsigned long long"),
    0x21: ("S8", "signed char"),
    0x22: ("S16", "short"),
    0x24: ("S32", "int"),
    0x28: ("S64", "long long"),
    0x44: ("F32", "float"),
    0x48: ("D64", "double"),
    0x80: ("string", STRING),
}
_ARRAY_BIT = 0x200


class VariantView(ListView):
    """A Variant<T>. Its value code identifies T."""

    NAME = "Variant"
    FIELDS = ("m_valueCode", "m_isFixed", "m_value")

    def describe(self):
        code = self._code()
        known = _ELEMENTS.get(code & ~_ARRAY_BIT)
        if known is None:
            return f"Variant of unknown type {code & 0xFFFFFFFF:#x}"
        name, _ = known
        if code & _ARRAY_BIT == 0:
            return f"Variant {name} = {_text_of(self._held())}"
        values = Array.of(self._held())
        if self.value["m_isFixed"] and values.length is not None:
            return f"Variant {name}[{values.length}]"
        return f"Variant {name}[], {values.count('element', 'elements')}"

    def parts(self):
        if self._code() & ~_ARRAY_BIT in _ELEMENTS and self._code() & _ARRAY_BIT:
            for i, value in enumerate(Array.of(self._held())):
                yield f"[{i}]", _part_of(value)

    def _code(self):
        return int(self.value["m_valueCode"])

    def _held(self):
        return self.value["m_value"]


class VariantBaseView(VariantView):
    """A variant whose static type is its base class."""

    NAME = "VariantBase"
    FIELDS = ("m_valueCode", "m_isFixed")

    def describe(self):
        if self._code() == 0:
            return f"VariantBase {class_of(self.value.address)}"
        return super().describe()

    def _held(self):
        _, held = _ELEMENTS[self._code() & ~_ARRAY_BIT]
        if self._code() & _ARRAY_BIT:
            held = f"std::vector<{held}, std::allocator<{held} > >"
        variant = gdb.lookup_type(f"zel::Variant<{held} >")
        return self.value.address.reinterpret_cast(variant.pointer())["m_value"]


def _text_of(value):
    if value.type.strip_typedefs().code == gdb.TYPE_CODE_STRUCT:
        return quote(value)
    return _as_number(value).format_string()


def _part_of(value):
    if value.type.strip_typedefs().code == gdb.TYPE_CODE_STRUCT:
        return Text.of(value).lazily()
    return _as_number(value)


def _as_number(value):
    return value.cast(gdb.lookup_type("int")) if value.type.sizeof == 1 else value


VIEWS = (VariantView, VariantBaseView)
