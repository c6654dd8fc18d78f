"""Names the platform of a wheel that carries the library; pyproject.toml says everything else."""

from pathlib import Path

from setuptools import Distribution, setup
from wheel.bdist_wheel import bdist_wheel

CARRIES_LIBRARY = (Path(__file__).parent / "velmora/lib").is_dir()


class PackageDistribution(Distribution):
    def has_ext_modules(self) -> bool:
        return CARRIES_LIBRARY


class PackageWheel(bdist_wheel):
    def get_tag(self) -> tuple[str, str, str]:
        """Of any Python 3: nothing in it is linked with the interpreter."""
        return "py3", "none", super().get_tag()[2]


setup(distclass=PackageDistribution, cmdclass={"bdist_wheel": PackageWheel})
