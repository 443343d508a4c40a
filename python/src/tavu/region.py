"""The shared memory in which the service puts frames, mapped for looking at. The Windows half hasn't been tried yet."""

from __future__ import annotations

import mmap
import os
import re
import sys
from typing import Any

import numpy
import numpy.typing

from .errors import Error, ProtocolError
from .protocol import REGIONS

#: An array of pixels, uint16.
Pixels = numpy.typing.NDArray[numpy.uint16]


def _unmappable(name: str) -> Error:
    return Error(f'the frame memory "{name}" can\'t be mapped: does the service run as another user?')


if sys.platform == "win32":
    import ctypes
    from ctypes import wintypes

    _FILE_MAP_READ = 4

    class _MemoryInformation(ctypes.Structure):
        _fields_ = [
            ("BaseAddress", ctypes.c_void_p),
            ("AllocationBase", ctypes.c_void_p),
            ("AllocationProtect", wintypes.DWORD),
            ("PartitionId", wintypes.WORD),
            ("RegionSize", ctypes.c_size_t),
            ("State", wintypes.DWORD),
            ("Protect", wintypes.DWORD),
            ("Type", wintypes.DWORD),
        ]

    class _View:
        """A mapped view; unmapped with the last array that looks at it."""

        def __init__(self, name: str) -> None:
            kernel = ctypes.WinDLL("kernel32", use_last_error=True)
            kernel.OpenFileMappingW.restype = wintypes.HANDLE
            kernel.OpenFileMappingW.argtypes = [wintypes.DWORD, wintypes.BOOL, wintypes.LPCWSTR]
            kernel.MapViewOfFile.restype = ctypes.c_void_p
            kernel.MapViewOfFile.argtypes = [wintypes.HANDLE] + 3 * [wintypes.DWORD] + [ctypes.c_size_t]
            kernel.UnmapViewOfFile.argtypes = [ctypes.c_void_p]
            kernel.VirtualQuery.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t]
            kernel.VirtualQuery.restype = ctypes.c_size_t
            kernel.CloseHandle.argtypes = [wintypes.HANDLE]
            self._kernel = kernel
            # mmap.mmap(-1, ..., tagname) would make a mapping where there is none.
            handle = kernel.OpenFileMappingW(_FILE_MAP_READ, False, name)
            if not handle:
                raise _unmappable(name)
            self._address = kernel.MapViewOfFile(handle, _FILE_MAP_READ, 0, 0, 0)
            kernel.CloseHandle(handle)
            if not self._address:
                raise _unmappable(name)
            found = _MemoryInformation()
            kernel.VirtualQuery(self._address, ctypes.byref(found), ctypes.sizeof(found))
            self.__array_interface__ = {
                "shape": (found.RegionSize // 2,),
                "typestr": "<u2",
                "data": (self._address, True),
                "version": 3,
            }

        def __del__(self) -> None:
            if getattr(self, "_address", None):
                self._kernel.UnmapViewOfFile(self._address)

    def _map(name: str) -> Any:
        return numpy.asarray(_View(name))

else:

    def _map(name: str) -> Any:
        try:
            handle = os.open(f"/dev/shm/{name}", os.O_RDONLY | os.O_CLOEXEC | os.O_NOFOLLOW)
        except OSError as fault:
            raise _unmappable(name) from fault
        try:
            memory = mmap.mmap(handle, 0, flags=mmap.MAP_SHARED, prot=mmap.PROT_READ)
        except (OSError, ValueError) as fault:
            raise _unmappable(name) from fault
        finally:
            os.close(handle)
        # The mapping lives as long as an array that looks at it.
        return numpy.frombuffer(memory, dtype="<u2", count=len(memory) // 2)


class Region:
    """A mapped region. It is unmapped when the last array that looks at it has gone, so that no array ever looks at
    memory that isn't there any more."""

    def __init__(self, mapping: str) -> None:
        """Maps the region that a reply calls ``mapping``. Raises ``Error`` when there is none."""
        if not re.fullmatch(REGIONS + "[0-9A-F]+", mapping):  # it becomes part of a path
            raise ProtocolError(f'"{mapping}" is no name of frame memory')
        self._pixels: Pixels = _map(mapping)

    def frame(self, width: int, height: int) -> Pixels:
        """A read-only view, (height, width) of uint16, of the frame that stands in the region. Raises ``ProtocolError``
        when the region is too small for it."""
        count = width * height
        if count > self._pixels.size:
            raise ProtocolError(
                f"a frame of {width}x{height} is larger than its memory: the port was configured anew meanwhile"
            )
        view = self._pixels[:count].reshape(height, width)
        view.flags.writeable = False
        return view
