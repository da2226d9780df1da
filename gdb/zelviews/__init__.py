"""How GDB shows the objects of zelCore and zelAdvanced.

A view reads memory and calls no function of the program, so it works on a core file as well. It
says what can't be read in its place. An object whose class doesn't have the fields that its view
knows is left to GDB's own way of printing.
"""

import gdb.printing

from . import data, events, pointers, text, variants


def register(objfile):
    """Makes GDB use the views while `objfile` is loaded, or always if it is None."""
    views = gdb.printing.RegexpCollectionPrettyPrinter("zel")
    for family in (pointers, text, variants, data, events):
        for view in family.VIEWS:
            views.add_printer(view.NAME, rf"^zel::{view.NAME}(<.*>)?$", view.of)
    gdb.printing.register_pretty_printer(objfile, views, replace=True)
