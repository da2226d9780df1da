"""RCPtr and WeakPtr."""

import gdb

from .memory import READ_ERRORS, UNREADABLE, print_option, target_of
from .view import View


class RCPtrView(View):
    NAME = "RCPtr"
    FIELDS = ("m_object",)

    def describe(self):
        pointer = self.value["m_object"]
        return f"RCPtr, {_count_of(pointer)}" if pointer else "null"

    def parts(self):
        pointer = self.value["m_object"]
        if pointer:
            yield "object", target_of(_as_requested(pointer))


class WeakPtrView(View):
    NAME = "WeakPtr"
    FIELDS = ("m_rcInfo",)

    def describe(self):
        info = self.value["m_rcInfo"]
        if not info:
            return "null"
        pointer = info["m_object"]
        if not pointer:
            return "WeakPtr, expired"
        return f"WeakPtr, {_count_of(pointer)}"

    # Only the address: weak pointers often form cycles.
    def parts(self):
        info = self.value["m_rcInfo"]
        if info and info["m_object"]:
            yield "object", self._typed(info["m_object"])

    def _typed(self, pointer):
        try:
            target = self.value.type.strip_typedefs().template_argument(0)
            return pointer.cast(target.pointer())
        except READ_ERRORS:
            return pointer


def _count_of(pointer):
    try:
        if not pointer.type.target().strip_typedefs().fields():
            return "count unknown"
        counted = pointer.cast(gdb.lookup_type("zel::RCObject").pointer())
        return f"count {int(counted['m_refCount'])}"
    except READ_ERRORS:
        return f"count {UNREADABLE}"


def _as_requested(pointer):
    """Returns the pointer as its dynamic type if `set print object` is on."""
    try:
        derived = print_option("actual_objects", "print object")
        return pointer.cast(pointer.dynamic_type) if derived else pointer
    except READ_ERRORS:
        return pointer


VIEWS = (RCPtrView, WeakPtrView)
