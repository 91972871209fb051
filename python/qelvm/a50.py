"""The ufuncs of `qelvm` in the faster class: the same float32 results; for float64 larger bounds in `exp`,
`log`, `log10`, `sinh` and `cosh`, and the same results elsewhere."""
from . import _ufuncs

globals().update(_ufuncs.a50)
__all__ = list(_ufuncs.a50)
