"""DataTree, DataTable and DataRow."""

from .memory import Array, Pointers, Text, quote, target_of
from .view import ListView, View


class DataTreeView(View):
    NAME = "DataTree"
    FIELDS = ("m_name", "m_value", "m_children", "m_index")

    def describe(self):
        children = self._children()
        value = Text.of(self.value["m_value"])
        text = f"DataTree {quote(self.value['m_name'])}"
        if value.length or children.length == 0:
            text += f" = {quote(self.value['m_value'])}"
        return text if children.length == 0 else f"{text}, {children.count('child', 'children')}"

    def parts(self):
        return _numbered(self._children())

    def _children(self):
        children = Array.of(self.value["m_children"])
        has_index = self.value["m_index"]["_M_b"]["_M_p"]
        return Pointers(children) if has_index else children


class DataTableView(View):
    NAME = "DataTable"
    FIELDS = ("m_fieldNames", "m_rows")

    def describe(self):
        fields, rows = self._fields(), self._rows()
        return f"DataTable, {fields.count('field', 'fields')}, {rows.count('row', 'rows')}"

    def parts(self):
        yield "fields", self._fields().quoted()
        yield from _numbered(self._rows())

    def _fields(self):
        return Array.of(self.value["m_fieldNames"])

    def _rows(self):
        return Array.of(self.value["m_rows"])


class DataRowView(ListView):
    NAME = "DataRow"
    FIELDS = ("m_cells",)

    def describe(self):
        return f"DataRow, {self._cells().count('cell', 'cells')}"

    def parts(self):
        for i, cell in enumerate(self._cells()):
            yield f"[{i}]", Text.of(cell).lazily()

    def _cells(self):
        return Array.of(self.value["m_cells"])


def _numbered(pointers):
    for i, pointer in enumerate(pointers):
        yield f"[{i}]", target_of(pointer["m_object"])


VIEWS = (DataTreeView, DataTableView, DataRowView)
