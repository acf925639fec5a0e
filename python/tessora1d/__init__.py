"""tessora1d: one-dimensional mesh tools."""
from . import _core


def version():
    """The library's version text, "5.3.0.0"."""
    return _core.version()
