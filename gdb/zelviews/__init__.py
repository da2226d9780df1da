"""GDB pretty-printers for zelCore and zelAdvanced.

A view reads memory and calls no function of the program, so it works on a core file as well. It
marks unreadable parts. GDB prints an object without a view if its class lacks a field that the view
requires.
"""

import gdb.printing
import gdb.xmethod

from . import data, errors, events, methods, pointers, text, variants

FAMILIES = (pointers, text, errors, variants, data, events)


def register(objfile):
    """Registers the views while `objfile` is loaded, or permanently if it is None."""
    views = gdb.printing.RegexpCollectionPrettyPrinter("zel")
    for family in FAMILIES:
        for view in family.VIEWS:
            views.add_printer(view.NAME, view.PATTERN or rf"^zel::{view.NAME}(<.*>)?$", view.of)
    gdb.printing.register_pretty_printer(objfile, views, replace=True)
    gdb.xmethod.register_xmethod_matcher(objfile, methods.RCPtrMethods(), replace=True)
