"""EventSource."""

from .memory import READ_ERRORS, UNREADABLE, Array, class_of
from .view import ListView


class EventSourceView(ListView):
    NAME = "EventSource"
    FIELDS = ("m_list",)

    def describe(self):
        sinks = self._sinks()
        return f"EventSource, {sinks.count('sink', 'sinks') if sinks else '0 sinks'}"

    def parts(self):
        for i, sink in enumerate(self._sinks() or ()):
            yield f"[{i}]", _name(sink["m_object"])

    def _sinks(self):
        published = self.value["m_list"]["m_object"]
        return Array.of(published["m_sinks"]) if published else None


def _name(sink):
    try:
        return f"{int(sink):#x} {class_of(sink)}"
    except READ_ERRORS:
        return f"{int(sink):#x} {UNREADABLE}"


VIEWS = (EventSourceView,)
