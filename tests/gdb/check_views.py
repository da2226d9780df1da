"""Compares how GDB displays the objects of program.cpp with the expected text, and the views with
the natvis file."""

import re
from pathlib import Path
from xml.etree import ElementTree

import gdb
import zelviews

CHECKS = (
    ("none", "null"),
    ("leaf", 'RCPtr, count 2 = {object = DataTree "interval" = "60"}'),
    ("-object off -- derived", "RCPtr, count 1 = {object = {<zel::RCObject>, m_number = 7}}"),
    (
        "-object on -- derived",
        "RCPtr, count 1 = {object = {<Base> = {<zel::RCObject>, m_number = 7}, m_extra = 8}}",
    ),
    ("weakNone", "null"),
    ("weak", "WeakPtr, count 2 = {object = 0x}"),
    ("expired", "WeakPtr, expired"),
    ("empty", 'MemOS ""'),
    ("message", r'MemOS "Node \"x\"\t42\x01\xffä"'),
    ("-elements 3 -- longText", 'MemOS "---"...'),
    ("byte", "Variant U8 = 65"),
    ("word", 'Variant string = "a word"'),
    ("own", "{<zel::Variant<double>> = Variant D64 = 0.25, <No data fields>}"),
    ("byName", "RCPtr, count 1 = {object = Variant U32[3] = {0, 0, 0}}"),
    ("*variants[0].m_object", "Variant S8 = -5"),
    ("*variants[1].m_object", "Variant U16 = 65535"),
    ("*variants[2].m_object", "Variant S64 = -9000000000"),
    ("*variants[3].m_object", "Variant F32 = 2.5"),
    ("*variants[4].m_object", 'Variant string = ""'),
    ("*variants[5].m_object", "Variant U8[], 2 elements = {1, 65}"),
    ("*variants[6].m_object", 'Variant string[], 3 elements = {"a", "", "z\\n"}'),
    ("*variants[7].m_object", "Variant S32[], 0 elements"),
    (
        "-elements 2 -- *variants[8].m_object",
        "Variant D64[], 1000000 elements = {0.5, 0.5...}",
    ),
    (
        "*station.m_object",
        'DataTree "station", 2 children = {[0] = DataTree "name" = "Harbour", '
        '[1] = DataTree "logger", 1 child = {[0] = DataTree "interval" = "60"}}',
    ),
    (
        "-elements 1 -- *wide.m_object",
        'DataTree "w"... = "v", 100000 children = {[0] = DataTree "n" = "v"...}',
    ),
    (
        "-max-depth 1 -- *deep.m_object",
        'DataTree "0", 1 child = {[0] = DataTree "1", 1 child = {...}}',
    ),
    (
        "*users.m_object",
        'DataTable, 2 fields, 3 rows = {fields = {"name", "shell"}, '
        '[0] = DataRow, 2 cells = {"ada", "/bin/sh"}, [1] = DataRow, 0 cells, '
        '[2] = DataRow, 1 cell = {"a\\"b"}}',
    ),
    ("quiet", "EventSource, 0 sinks"),
    (
        "changed",
        "EventSource, 2 sinks = {0x Printer, 0x zel::EventSource<std::string>::CallableSink<Listener>}",
    ),
    ("*leaf", 'DataTree "interval" = "60"'),
    ("leaf->m_value", '"60"'),
    ("variants[1].Get()->m_valueCode", "18"),
    ("problem", 'Exception "Exception": "No \\"name\\"" ("Reader.cpp":12)'),
    ("treeProblem", 'Exception "DataTreeEx": "Not found" ("DataTree":7)'),
    ("area", 'LogArea "Harbour", global level, writes levels up to 5'),
    ("ownArea", 'LogArea "Pier", level 2, writes levels up to 2'),
    ("*(zel::Exception*)garbage._M_impl._M_start", "Exception <unreadable>"),
    ("*(zel::RCPtr<zel::DataTree>*)garbage._M_impl._M_start", "RCPtr, count <unreadable> = {object = 0x <unreadable>}"),
    ("*(zel::WeakPtr<zel::DataTree>*)garbage._M_impl._M_start", "WeakPtr <unreadable>"),
    ("*(zel::DataTree*)garbage._M_impl._M_start", "DataTree <unreadable> = <unreadable>"),
)


def show(expression):
    text = gdb.execute(f"print {expression}", to_string=True).rstrip("\n")
    text = re.sub(r"^\$\d+ = ", "", text)
    text = re.sub(r"0x[0-9a-f]+", "0x", text).replace("(anonymous namespace)::", "")
    return re.sub(r"<zel::RCObject> = {[^}]*}", "<zel::RCObject>", text)


def compare_natvis(folder):
    """Returns 1 if the natvis file shows other classes than the views or reads other fields."""
    natvis = Path(folder, "zel.natvis").read_text()
    sources = "".join(path.read_text() for path in Path(folder, "zelviews").glob("*.py"))
    types = [node.get("Name") for node in ElementTree.fromstring(natvis.encode())]
    views = [f"zel::{view.NAME}" for family in zelviews.FAMILIES for view in family.VIEWS]
    differences = {name.replace("<*>", "") for name in types} ^ set(views)
    differences |= set(re.findall(r"\bm_\w+", natvis)) - set(re.findall(r"\bm_\w+", sources))
    if differences:
        print(f"zel.natvis: Failure\n  differs in {', '.join(sorted(differences))}")
    return min(len(differences), 1)


def main():
    failures = 0
    for expression, expected in CHECKS:
        shown = show(expression)
        if shown != expected:
            failures += 1
            print(f"print {expression}: Failure\n  actual   {shown}\n  expected {expected}")
    print(f"{len(CHECKS) - failures} of {len(CHECKS)} views are as expected")
    failures += compare_natvis(Path(zelviews.__file__).parent.parent)
    gdb.execute(f"quit {min(failures, 1)}")


main()
