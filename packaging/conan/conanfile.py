# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""ZORMIDI as a Conan 2 package, from the working tree: conan create packaging/conan."""
import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain
from conan.tools.files import copy, load

FOLDERS = ("cmake", "engine", "midi", "mme", "pitchrec", "platform", "resources", "setup", "soundin", "support")


class Zormidi(ConanFile):
    name = "zormidi"
    description = "MIDI engine library for music-notation programs"
    license = "MIT"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"

    def set_version(self):
        header = load(self, os.path.join(self.recipe_folder, "..", "..", "engine", "zormidi.h"))
        self.version = ".".join(re.findall(r"#define ZORMIDI_VERSION_\w+ (\d+)", header))

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for name in ("CMakeLists.txt", "LICENSE"):
            copy(self, name, root, self.export_sources_folder)
        for folder in FOLDERS:
            copy(self, f"{folder}/*", root, self.export_sources_folder)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.variables["ZOR_TESTS"] = False
        toolchain.variables["ZOR_HOST"] = False
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.libs = ["ZORMIDI" if self.settings.os == "Windows" else "zormidi"]
        self.cpp_info.set_property("cmake_target_name", "zormidi::zormidi")
