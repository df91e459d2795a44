#include "ErrorStatus.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string>
#include <utility>

namespace {

// Statuses that the system has an error for.
constexpr std::pair<std::int16_t, int> kSystemErrors[] = {
    {fnfErr, ENOENT},     {permErr, EACCES},   {tmfoErr, EMFILE},  {ioErr, EIO},
    {memFullErr, ENOMEM}, {dskFulErr, ENOSPC}, {dupFNErr, EEXIST}, {paramErr, EINVAL}};

constexpr std::pair<std::int16_t, const char*> kTexts[] = {
    {eofErr, "The resource fork is missing or empty"},
    {wrPermErr, "The resource file is not open for writing"},
    {CantDecompress, "The resource is compressed"},
    {resNotFound, "A resource is missing or damaged"},
    {resFNotFound, "The resource file is not open"},
    {addResFailed, "The resources do not fit into one file"},
    {mapReadErr, "The resource fork is damaged"}};

template <typename Rows>
const auto* rowOf(const Rows& rows, std::int16_t status) {
    const auto* row = std::find_if(std::begin(rows), std::end(rows),
                                   [status](const auto& r) { return r.first == status; });
    return row != std::end(rows) ? row : nullptr;
}

// Categories are never deleted through their base, whose destructor Boost protects.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class StatusCategory : public boost::system::error_category {
  public:
    const char* name() const noexcept override { return "resource file"; }
    std::string message(int value) const override {
        const auto* row = rowOf(kTexts, static_cast<std::int16_t>(value));
        return row != nullptr ? row->second : "Error " + std::to_string(value);
    }
};
#pragma GCC diagnostic pop

const StatusCategory& statusCategory() {
    static const auto& category = *new StatusCategory;
    return category;
}

}  // namespace

std::int16_t statusOfErrno(int error) {
    switch (error) {
        case 0:
            return noErr;
        case ENOENT:
        case ENOTDIR:
        case ENXIO:  // a socket
        case ENAMETOOLONG:
        case ELOOP:
        case EISDIR:
        case EOPNOTSUPP:  // another kind of file
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

boost::system::error_code errorOfStatus(std::int16_t status) {
    if (status == noErr) {
        return {};
    }
    if (const auto* row = rowOf(kSystemErrors, status)) {
        return {row->second, boost::system::system_category()};
    }
    return {status, statusCategory()};
}

std::int16_t statusOfError(const boost::system::error_code& error) {
    return error.category() == statusCategory() ? static_cast<std::int16_t>(error.value())
                                                : statusOfErrno(error.value());
}
