"""Conan 2 recipe that builds the sources it lies in: conan create <this tree>/packaging/conan"""

import os
import re

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain
from conan.tools.files import copy, load


class ZelAdvanced(ConanFile):
    name = "zeladvanced"
    description = "Building blocks for long-running C++ programs"
    package_type = "library"
    settings = "os", "compiler", "build_type", "arch"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": True, "fPIC": True}
    implements = ["auto_shared_fpic"]

    @property
    def _tree(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        project = load(self, os.path.join(self._tree, "CMakeLists.txt"))
        self.version = re.search(r"VERSION (\d+\.\d+\.\d+)", project).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "cmake/*", "gdb/*", "packaging/debian/*", "zel/*"):
            copy(self, pattern, self._tree, self.export_sources_folder)

    def validate(self):
        check_min_cppstd(self, 20)

    def generate(self):
        toolchain = CMakeToolchain(self)
        # The libraries don't use X client libraries that the package doesn't require.
        toolchain.cache_variables["ZEL_HAS_XCB"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "copyright", os.path.join(self.source_folder, "packaging", "debian"),
             os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        # find_package(zelAdvanced) finds the files that the libraries install.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "zelAdvanced")]
        self.cpp_info.libs = ["zelAdvanced", "zelCore"]
        if not self.options.shared:
            self.cpp_info.defines = ["ZEL_STATIC"]
            self.cpp_info.system_libs = {"Linux": ["pthread"]}.get(str(self.settings.os), [])
