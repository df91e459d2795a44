#include "MacErrors.h"

#include <cerrno>

std::int16_t statusOfErrno(int error) {
    switch (error) {
        case 0:
            return noErr;
        case ENOENT:
        case ENOTDIR:
        case ENXIO:  // a socket
        case ENAMETOOLONG:
        case ELOOP:
            return fnfErr;
        case EACCES:
        case EPERM:
        case EROFS:
            return permErr;
        case EMFILE:
        case ENFILE:
            return tmfoErr;
        case ENOMEM:
        case EOVERFLOW:
        case EFBIG:
            return memFullErr;
        case ENOSPC:
        case EDQUOT:
            return dskFulErr;
        case EEXIST:
            return dupFNErr;
        default:
            return ioErr;
    }
}

int errnoOfStatus(std::int16_t status) {
    switch (status) {
        case noErr:
            return 0;
        case fnfErr:
            return ENOENT;
        case permErr:
            return EACCES;
        case tmfoErr:
            return EMFILE;
        case memFullErr:
            return ENOMEM;
        case dskFulErr:
            return ENOSPC;
        case dupFNErr:
            return EEXIST;
        default:
            return EIO;
    }
}
