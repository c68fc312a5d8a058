#include "base/Status.h"

#include <cerrno>
#include <system_error>

namespace siftwell {

namespace {

StatusCode codeForErrno(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return StatusCode::NotFound;
        case EEXIST:
            return StatusCode::Exists;
        case EACCES:
        case EPERM:
            return StatusCode::Denied;
        case ENOSPC:
        case EDQUOT:
            return StatusCode::NoSpace;
        case EROFS:
            return StatusCode::ReadOnlyStorage;
        case EAGAIN:
        case EBUSY:
            return StatusCode::Busy;
        case ENAMETOOLONG:
            return StatusCode::Invalid;
        default:
            return StatusCode::Failed;
    }
}

}  // namespace

Status Status::fromErrno(int error, std::string_view action) {
    std::string message = "Could not ";
    message += action;
    message += ": ";
    message += std::generic_category().message(error);
    message += '.';
    return {codeForErrno(error), std::move(message)};
}

}  // namespace siftwell
