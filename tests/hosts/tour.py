"""Takes the tour in the stock interpreter: sys.argv[1] is the library, sys.argv[2] the service's
host."""
import _ctypes
import ctypes
import gc
import locale
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, byref, c_bool, c_char_p, c_int32, c_size_t
from ctypes import c_uint32, c_uint64, c_void_p, cast


class Status(Structure):
    """A status record whose buffer is Python's."""


RESIZE = CFUNCTYPE(c_bool, POINTER(Status), c_uint32)
Status._fields_ = [("code", c_int32), ("capacity", c_uint32), ("resize", RESIZE),
                   ("json", c_void_p)]
ALLOCATE = CFUNCTYPE(c_void_p, c_void_p, c_size_t, c_void_p, POINTER(Status))


class Translator(Structure):
    """As the library hands it out."""


Translator._fields_ = [
    ("structSize", c_uint64),
    ("destroy", CFUNCTYPE(None, POINTER(Translator))),
    ("getStaticDesc", CFUNCTYPE(c_void_p, POINTER(Translator), c_uint32, c_uint32, ALLOCATE,
                                c_void_p, POINTER(Status))),
    ("getDynamicDesc", CFUNCTYPE(c_void_p, POINTER(Translator), c_char_p, c_uint32, c_char_p,
                                 ALLOCATE, c_void_p, POINTER(Status)))]

blocks = {}


def keep(block):
    blocks[ctypes.addressof(block)] = block
    return ctypes.addressof(block)


@RESIZE
def resize(status, capacity):
    record = status.contents
    old = ctypes.string_at(record.json) if record.json else b"{}"
    blocks.pop(record.json, None)
    block = ctypes.create_string_buffer(capacity)
    block[:len(old)] = old
    block[capacity - 1] = b"J"
    record.json = keep(block)
    record.capacity = capacity
    return True


@ALLOCATE
def allocate(_block, length, _context, _status):
    return keep(ctypes.create_string_buffer(length))


def expect(what, actual, expected):
    if actual != expected:
        raise SystemExit(f"{what}: {actual!r}, not {expected!r}")


def use(library, session, translator, status):
    library.zerovaapi_getRoutableDevices.restype = POINTER(c_char_p)
    devices = library.zerovaapi_getRoutableDevices(session, byref(status))
    expect("devices", devices[:3], [b"dev1", b"dev2", None])
    library.zerovaapi_destroyStringArray.argtypes = [POINTER(c_char_p)]
    library.zerovaapi_destroyStringArray(devices)
    expect("code of a call", status.code, 0)
    library.zerovaapi_programRoute(session, 7, byref(status))
    expect("code of a failed call", status.code, -52024)
    status.code = 0
    library.zerovaapi_reserveRoute(session, 7, byref(status))
    expect("code of a refused call", status.code, -77)

    refusal = ctypes.string_at(status.json)
    status.code = 0
    described = translator.contents.getDynamicDesc(translator, refusal, 2, b"json1", allocate,
                                                   None, byref(status))
    expect("description", b"taken by another" in ctypes.string_at(described), True)
    translator.contents.getStaticDesc(translator, 7, 2, allocate, None, byref(status))
    expect("code of the descriptions", status.code, 0)
    translator.contents.getDynamicDesc(translator, b"no JSON", 2, b"json1", allocate, None,
                                       byref(status))
    expect("code of a failed description", status.code, -52003)
    status.code = 0


def tour(file, host):
    library = ctypes.CDLL(file)
    status = Status(resize=resize)
    library.zerovaapi_createSession.restype = c_void_p
    library.zerovaapi_createRemoteSession.restype = c_void_p
    sessions = [c_void_p(library.zerovaapi_createSession(byref(status))),
                c_void_p(library.zerovaapi_createRemoteSession(host.encode(), byref(status)))]
    library.lorvex_exported_create.restype = POINTER(Translator)
    translator = library.lorvex_exported_create(
        b"dorvex_zerova",
        b'{"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"trvSharedErrorsDir":"/"}}',
        byref(status))
    expect("code of the beginning", status.code, 0)
    for session in sessions:
        use(library, session, translator, status)
        library.zerovaapi_destroySession(session)
    translator.contents.destroy(translator)
    blocks.clear()
    _ctypes.dlclose(library._handle)


def is_mapped(file):
    with open("/proc/self/maps", encoding="utf-8") as maps:
        return file in maps.read()


def main():
    file, host = sys.argv[1:]
    before = locale.setlocale(locale.LC_ALL)
    for _ in range(4):
        tour(file, host)
        expect("library in the process", is_mapped(file), False)
        gc.collect()
    expect("locale", locale.setlocale(locale.LC_ALL), before)
    expect("number", f"{1 / 3:.2f}", "0.33")
    print("toured from Python")


main()
