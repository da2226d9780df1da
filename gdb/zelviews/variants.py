"""Variant and VariantBase."""

import gdb

from .memory import Array, Text, class_of, quote
from .view import ListView

# Type name and type of an element by its code.
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
    0x80: ("string", "std::string"),
}
_ELEMENT_BITS = 0x0FF
_ARRAY_BIT = 0x200


class VariantBaseView(ListView):
    NAME = "VariantBase"
    FIELDS = ("m_valueCode", "m_isFixed")

    def describe(self):
        if self._element() is None:
            return f"VariantBase {class_of(self.value.address)}"
        name, _ = self._element()
        if not self._is_array():
            return f"Variant {name} = {self._scalar()}"
        values = self._array()
        if self.value["m_isFixed"] and values.length is not None:
            return f"Variant {name}[{values.length}]"
        return f"Variant {name}[], {values.count('element', 'elements')}"

    def parts(self):
        if self._element() is None or not self._is_array():
            return
        for i, value in enumerate(self._array()):
            yield f"[{i}]", self._printable(value)

    def _code(self):
        return int(self.value["m_valueCode"])

    def _element(self):
        known = self._code() & ~(_ELEMENT_BITS | _ARRAY_BIT) == 0
        return _ELEMENTS.get(self._code() & _ELEMENT_BITS) if known else None

    def _is_array(self):
        return self._code() & _ARRAY_BIT != 0

    def _type(self):
        _, name = self._element()
        return gdb.lookup_type(name).strip_typedefs()

    def _scalar(self):
        value = self._place(self._type()).dereference()
        if value.type.code == gdb.TYPE_CODE_STRUCT:
            return quote(value)
        return self._printable(value).format_string()

    # A vector begins with pointers to its first element and behind its last one.
    def _array(self):
        bounds = self._place(self._type().pointer())
        return Array(bounds[0], bounds[1])

    def _printable(self, value):
        if value.type.code == gdb.TYPE_CODE_STRUCT:
            return Text.of(value).lazily()
        return value.cast(gdb.lookup_type("int")) if value.type.sizeof == 1 else value

    # The value stands behind the last field of the base, at the next address that suits it. A
    # program that names no Variant<T> has no type to tell that.
    def _place(self, kind):
        last = self.value["m_valueCode"]
        end = int(last.address) + last.type.sizeof
        alignment = kind.alignof
        return gdb.Value(-(-end // alignment) * alignment).cast(kind.pointer())


class VariantView(VariantBaseView):
    NAME = "Variant"
    FIELDS = (*VariantBaseView.FIELDS, "m_value")

    def _place(self, kind):
        return self.value["m_value"].address.cast(kind.pointer())


VIEWS = (VariantBaseView, VariantView)
