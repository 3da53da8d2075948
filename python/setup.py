# SPDX-License-Identifier: Apache-2.0
"""What pyproject.toml cannot say: a wheel that has the shared libraries in it is for one kind of machine, but for any
Python. Without them the package is for all machines, and uses the libraries of the system."""

import pathlib

from setuptools import setup
from setuptools.dist import Distribution
from wheel.bdist_wheel import bdist_wheel

WITH_LIBRARIES = any(pathlib.Path(__file__).parent.glob("kivocamutl/*.so.*"))


class Libraries(Distribution):
    """A package that goes where packages with machine code go."""

    def has_ext_modules(self):
        return WITH_LIBRARIES


class AnyPython(bdist_wheel):
    """No part of the libraries knows the interpreter."""

    def get_tag(self):
        return ("py3", "none", super().get_tag()[2])


setup(distclass=Libraries, cmdclass={"bdist_wheel": AnyPython})
