"""Which of fontconfig's orthographies a set of characters covers whole, asked of fontconfig."""

import ctypes
import ctypes.util

END = 0xFFFFFFFF
MAP_WORDS = 8


def orthographies():
    """Characters by language, empty without fontconfig."""
    try:
        library = ctypes.CDLL("libfontconfig.so.1")
    except OSError:
        return {}
    page = ctypes.c_uint32 * MAP_WORDS
    library.FcGetLangs.restype = library.FcLangGetCharSet.restype = ctypes.c_void_p
    library.FcStrListCreate.restype = ctypes.c_void_p
    library.FcStrListCreate.argtypes = [ctypes.c_void_p]
    library.FcStrListNext.restype = ctypes.c_char_p
    library.FcStrListNext.argtypes = [ctypes.c_void_p]
    library.FcLangGetCharSet.argtypes = [ctypes.c_char_p]
    for function in (library.FcCharSetFirstPage, library.FcCharSetNextPage):
        function.restype = ctypes.c_uint32
        function.argtypes = [ctypes.c_void_p, page, ctypes.POINTER(ctypes.c_uint32)]
    languages = library.FcStrListCreate(library.FcGetLangs())
    result = {}
    while (name := library.FcStrListNext(languages)) is not None:
        wanted, bits, following = library.FcLangGetCharSet(name), page(), ctypes.c_uint32()
        characters = set()
        start = library.FcCharSetFirstPage(wanted, bits, following)
        while start != END:
            characters.update(start + 32 * word + bit for word in range(MAP_WORDS)
                              for bit in range(32) if bits[word] >> bit & 1)
            start = library.FcCharSetNextPage(wanted, bits, following)
        result[name.decode()] = frozenset(characters)
    return result


ORTHOGRAPHIES = orthographies()


def languages(characters):
    return sorted(name for name, wanted in ORTHOGRAPHIES.items() if wanted and wanted <= characters)
