"""The operators of RCPtr, without calling the program: `print *station`, `print station->m_name`."""

import re

import gdb.xmethod

METHODS = {
    "operator*": lambda pointer: pointer.dereference(),
    "operator->": lambda pointer: pointer,
    "Get": lambda pointer: pointer,
    "operator bool": lambda pointer: pointer != 0,
}


class RCPtrMethods(gdb.xmethod.XMethodMatcher):
    def __init__(self):
        super().__init__("zel::RCPtr")
        self.methods = [gdb.xmethod.XMethod(name) for name in METHODS]

    def match(self, class_type, method_name):
        is_ours = re.match(r"^zel::RCPtr<.*>$", class_type.strip_typedefs().unqualified().name or "")
        enabled = any(method.name == method_name and method.enabled for method in self.methods)
        return RCPtrMethod(METHODS[method_name]) if is_ours and enabled else None


class RCPtrMethod(gdb.xmethod.XMethodWorker):
    def __init__(self, read):
        self._read = read

    def get_arg_types(self):
        return None

    def __call__(self, pointer):
        return self._read(pointer["m_object"])
