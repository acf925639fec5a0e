"""Shared fixtures: the C++ reference workloads, Hypothesis settings and the refusal check."""

import os
import pathlib

import numpy as np
import pytest
from hypothesis import settings

from tessora1d import Tessora1dError

# Library calls are quick but their first run may be slow on a loaded machine.
settings.register_profile("tessora1d", deadline=None, print_blob=True)
settings.load_profile("tessora1d")


def reference_cases():
    """The cases written by reference_workloads.cpp: (name, function, positional, keywords, outputs)."""
    folder = os.environ.get("TESSORA1D_REFERENCE_DIR")
    if not folder:
        return []
    cases = []
    for line in (pathlib.Path(folder) / "manifest.txt").read_text().splitlines():
        name, function, positional, keywords, outputs = line.split("|")
        split = lambda s: [x for x in s.split(",") if x]  # noqa: E731
        cases.append((name, function, split(positional), split(keywords), split(outputs)))
    return cases


def load(case, item):
    return np.load(pathlib.Path(os.environ["TESSORA1D_REFERENCE_DIR"]) / f"{case}.{item}.npy")


def as_argument(array):
    """0-d arrays become Python scalars (flags, counts, reals); others stay arrays."""
    return array.item() if isinstance(array, np.ndarray) and array.ndim == 0 else array


def same_bits(actual, expected):
    """Equal values, shapes and, for reals, bit patterns (so -0.0 and 0.0 differ)."""
    actual = np.asarray(actual)
    if actual.shape != expected.shape:
        return False
    if expected.dtype.kind == "f":
        return actual.dtype == np.float64 and np.array_equal(actual.view(np.uint64), expected.view(np.uint64))
    if expected.dtype.kind == "b":
        return actual.dtype.kind == "b" and np.array_equal(actual, expected)
    return actual.dtype.kind in "iu" and np.array_equal(actual.astype(np.int64), expected.astype(np.int64))


def assert_refused(call, function, argument, code):
    """call() raises Tessora1dError naming function, argument and code (None: refused by the binding)."""
    with pytest.raises(Tessora1dError) as info:
        call()
    error = info.value
    assert isinstance(error, ValueError)
    assert (error.function, error.argument, error.code) == (function, argument, code), str(error)
    assert str(error).startswith(f"{function}: {argument} ")
    assert ("(library code" in str(error)) == (code is not None)
