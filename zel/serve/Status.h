// The status numbers of the answers.
#pragma once

namespace zel {

inline constexpr unsigned STATUS_DONE = 200, STATUS_BAD_REQUEST = 400, STATUS_UNAUTHORISED = 401,
                          STATUS_NOT_FOUND = 404, STATUS_WRONG_METHOD = 405, STATUS_NOT_ACCEPTABLE = 406,
                          STATUS_TOO_LARGE = 413, STATUS_MISDIRECTED = 421, STATUS_HEADER_TOO_LARGE = 431,
                          STATUS_UNAVAILABLE = 503;

} // namespace zel
