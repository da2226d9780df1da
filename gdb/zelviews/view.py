"""The base classes of all views."""

import gdb

from .memory import READ_ERRORS, UNREADABLE


class View:
    """Displays one object. A derived class sets NAME to the class it displays, or PATTERN to an
    expression for several, and FIELDS to the members it reads. `describe` returns one line; `parts` yields named children, if any.
    """

    NAME = ""
    PATTERN = ""
    FIELDS = ()

    @classmethod
    def of(cls, value):
        """Returns a view of the object, or None if it lacks one of FIELDS."""
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        known = all(_has_field(value.type.strip_typedefs(), name) for name in cls.FIELDS)
        if not known:
            return None
        view = cls(value)
        # Front ends hide the text of a value that has a `children` method.
        if view._has_parts():
            view.children = view._readable_parts
        return view

    def __init__(self, value):
        self.value = value

    def describe(self):
        raise NotImplementedError

    def parts(self):
        return ()

    def to_string(self):
        try:
            return self.describe()
        except READ_ERRORS:
            return f"{self.NAME} {UNREADABLE}"

    def _has_parts(self):
        try:
            self.describe()
        except READ_ERRORS:
            return False
        return next(self._readable_parts(), None) is not None

    def _readable_parts(self):
        try:
            yield from self.parts()
        except READ_ERRORS:
            yield "more", UNREADABLE


class ListView(View):
    """A view whose parts are printed without names."""

    def display_hint(self):
        return "array"


def _has_field(struct, name):
    return any(
        field.name == name or (field.is_base_class and _has_field(field.type, name))
        for field in struct.fields()
    )
