"""NumPy ufuncs with the same bits on every platform and processor.

`qelvm.exp`, `qelvm.power` and so on are used as those of NumPy and SciPy are, on float32 and float64
arrays; `qelvm.a50` has the faster ones, with larger error bounds. `help(qelvm.exp)` tells the domain, the
special values and the error bound.
"""
import copyreg as _copyreg
import importlib as _importlib
import os as _os
from typing import NamedTuple as _NamedTuple
from typing import Tuple as _Tuple

import numpy as _numpy

from . import _ufuncs

globals().update(_ufuncs.a53)
__all__ = ["a50", "library", *_ufuncs.a53]


class Library(_NamedTuple):
    """The build of the library that is loaded; they all give the same results.

    version: major, minor, build major, build number. cpu: "px" for every processor, "v3" and "v4" for the
    levels x86-64-v3 (AVX2) and x86-64-v4 (AVX-512). path: its file.
    """

    version: _Tuple[int, int, int, int]
    cpu: str
    path: str


def library():
    """Which build of the library the dynamic loader chose, a `Library`."""
    version, cpu, path = _ufuncs.library()
    return Library(version, cpu, _os.path.realpath(path))


__version__ = ".".join(map(str, library().version))


def _along_longest_axis(ufunc, out, *inputs):
    """ufunc(*inputs, out=out), with inner loops along the longest axis where they would be short.

    The results and their layout are the same; only the order in which the elements are computed is another.
    """
    given = (None,) * ufunc.nout if out is None else out if isinstance(out, tuple) else (out,)
    try:
        dtype = _numpy.result_type(*inputs, _numpy.float32)
        iterator = _numpy.nditer(
            [*inputs, *given], ["external_loop"],
            [["readonly"]] * ufunc.nin + [["writeonly", "allocate"]] * ufunc.nout,
            [None] * ufunc.nin + [None if array is not None else dtype for array in given])
    except (TypeError, ValueError):  # NumPy says it better
        return ufunc(*inputs, out=given, order="K")
    outputs = iterator.operands[ufunc.nin:]
    shape = outputs[0].shape
    longest = max(shape)
    if longest < 4 * iterator.shape[0] or dtype not in (_numpy.float32, _numpy.float64):
        return ufunc(*inputs, out=given, order="K")
    axis = shape.index(longest)
    arrays = [_numpy.moveaxis(_numpy.broadcast_to(a, shape), axis, -1) for a in inputs]
    ufunc(*arrays, out=tuple(_numpy.moveaxis(a, axis, -1) for a in outputs), order="C")
    results = tuple(o if g is None else g for o, g in zip(outputs, given))
    return results[0] if len(results) == 1 else results


_ufuncs.set_along_longest_axis(_along_longest_axis)

from . import a50  # noqa: E402

# Pickled by their name in this package. NumPy's way is to search all modules for an attribute with the
# ufunc's own name, which need not be of a module that the reader has.
_places = {id(f): (module, name) for module, ufuncs in (("qelvm.a50", _ufuncs.a50), ("qelvm", _ufuncs.a53))
           for name, f in ufuncs.items() if name == f.__name__}
_numpys_reduce = _copyreg.dispatch_table.get(_numpy.ufunc)


def _named(module, name):
    return getattr(_importlib.import_module(module), name)


def _reduce(ufunc):
    place = _places.get(id(ufunc))
    return (_named, place) if place else _numpys_reduce(ufunc)


_copyreg.pickle(_numpy.ufunc, _reduce)
