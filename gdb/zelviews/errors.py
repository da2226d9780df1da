"""Exception and LogArea."""

from .memory import quote
from .view import View


class ExceptionView(View):
    """An Exception, or one of the library's classes that add no member to it."""

    NAME = "Exception"
    PATTERN = r"^zel::(\w+::)*(Exception|\w+Ex)$"
    FIELDS = ("m_details",)

    def describe(self):
        details = self.value["m_details"]["_M_ptr"].dereference()
        place = f"{quote(details['file'])}:{int(details['line'])}"
        info = details["info"]
        if info["_M_string_length"]:
            place += f", {quote(info)}"
        return f"Exception {quote(details['type'])}: {quote(details['message'])} ({place})"


class LogAreaView(View):
    NAME = "LogArea"
    FIELDS = ("m_area",)

    def describe(self):
        area = self.value["m_area"]["m_area"].dereference()
        own, enabled = int(area["ownLevel"]), int(area["threshold"]["_M_i"])
        follows = "global level" if own == -1 else f"level {own}"
        writes = "nothing" if enabled < 1 else f"levels up to {enabled}"
        return f"LogArea {quote(area['name'])}, {follows}, writes {writes}"


VIEWS = (ExceptionView, LogAreaView)
