"""What all views are made of."""

import gdb

from .memory import READ_ERRORS, UNREADABLE


class View:
    """Shows one object. A derived class names the class it shows and the fields it rests on, and
    describes an object in a line; if there is more to show, `parts` yields it, each with its name.
    """

    NAME = ""
    FIELDS = ()

    @classmethod
    def of(cls, value):
        """The view of an object, None if its fields are others."""
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        known = all(_has_field(value.type.strip_typedefs(), name) for name in cls.FIELDS)
        if not known:
            return None
        view = cls(value)
        # A front end shows no text of what has children.
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
    """A view whose parts need no names."""

    def display_hint(self):
        return "array"


def _has_field(struct, name):
    return any(
        field.name == name or (field.is_base_class and _has_field(field.type, name))
        for field in struct.fields()
    )
