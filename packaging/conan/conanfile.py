import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load
from conan.tools.gnu import PkgConfigDeps


class ZolpOrktool(ConanFile):
    name = "zolp_orktool"
    description = "Utility functions for customising a product-data-management platform"
    license = "MIT"
    package_type = "shared-library"
    settings = "os", "compiler", "build_type", "arch"

    def _project(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        header = load(self, os.path.join(self._project(), "include", "zolp_orktool", "version.h"))
        parts = dict(re.findall(r"#define ZOLP_VERSION_(MAJOR|MINOR|PATCH) (\d+)", header))
        self.version = ".".join(parts[part] for part in ("MAJOR", "MINOR", "PATCH"))

    def export_sources(self):
        for pattern in ("*.txt", "*.md", "*.json", "LICENSE"):
            copy(self, pattern, self._project(), self.export_sources_folder, excludes="*/*")
        for folder in ("basetool", "cmake", "docs", "examples", "host", "include", "platform", "src", "tools"):
            copy(self, f"{folder}/*", self._project(), self.export_sources_folder)

    def validate(self):
        if self.settings.os != "Linux":
            raise ConanInvalidConfiguration("on Linux only; for Windows there is a ZIP file")

    def layout(self):
        cmake_layout(self)

    def requirements(self):
        self.requires("sqlite3/[>=3.40 <4]")
        self.requires("libgcrypt/[>=1.8 <2]")
        self.requires("nlohmann_json/[>=3.11 <4]")
        self.requires("cli11/[>=2.3 <3]")

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["ZOLP_BUILD_TESTS"] = False
        toolchain.generate()
        CMakeDeps(self).generate()
        PkgConfigDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The installation brings its own package for CMake, with the targets zolp::orktool and others.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "zolp_orktool")]
        self.cpp_info.includedirs = [os.path.join("include", "zolp_orktool")]
        self.cpp_info.libs = ["zolp_orktool", "zolp_basetool", "ork_host"]
