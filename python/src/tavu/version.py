"""The version of the package, which is that of the service beside which it is released."""

__version__ = "0.1.0"
