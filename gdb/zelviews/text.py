"""MemOS."""

from .memory import Text
from .view import View


class MemOSView(View):
    NAME = "MemOS"
    FIELDS = ("m_streambuf",)

    def describe(self):
        storage = self.value["m_streambuf"]
        start = storage["m_buffer"]
        length = int(storage["_M_out_cur"]) - int(start)
        if not 0 <= length <= int(storage["m_capacity"]):
            raise ValueError("the end of the text is outside its storage")
        return f"MemOS {Text(start, length).quoted()}"


VIEWS = (MemOSView,)
