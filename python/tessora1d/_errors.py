"""The exceptions of tessora1d.

Both carry the library's return ``code`` (None when the binding refused the input before
calling the library) and the ``function`` that raised; ``Tessora1dError`` also names the
``argument`` at fault by its Python name.
"""

from __future__ import annotations

from typing import Any, Optional, Tuple

__all__ = ["Tessora1dError", "Tessora1dMemoryError"]


class Tessora1dError(ValueError):
    """An argument that the library (or the binding, before calling it) refused.

    Attributes
    ----------
    code : int or None
        The library's negative return code, or None when the binding refused the input
        itself (a wrong shape, a non-finite value, a count beyond 2**32 - 1, ...).
    function : str
        The tessora1d function that raised.
    argument : str or None
        The Python name of the argument at fault.
    """

    def __init__(
        self,
        message: str,
        code: Optional[int] = None,
        function: Optional[str] = None,
        argument: Optional[str] = None,
    ) -> None:
        super().__init__(message)
        self.code = code
        self.function = function
        self.argument = argument

    def __reduce__(self) -> Tuple[Any, ...]:  # keeps the attributes across pickling (process pools)
        return (type(self), (str(self), self.code, self.function, self.argument))


class Tessora1dMemoryError(MemoryError):
    """An output that could not be grown (library code -199), or inputs that could not be stored.

    Attributes
    ----------
    code : int or None
        The library's return code (-199; -198 for mesh_line without params; -2 for an extrusion
        from a point, which the library could not append), or None when the binding could not
        store the inputs.
    function : str
        The tessora1d function that raised.
    """

    def __init__(self, message: str, code: Optional[int] = None, function: Optional[str] = None) -> None:
        super().__init__(message)
        self.code = code
        self.function = function

    def __reduce__(self) -> Tuple[Any, ...]:
        return (type(self), (str(self), self.code, self.function))
