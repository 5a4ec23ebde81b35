// For tests that cancel a thread.
#pragma once

#include <gtest/gtest.h>

#ifdef __SANITIZE_ADDRESS__
#define SKIP_WHERE_CANCELLATION_IS_NOT_FOLLOWED()                                                                      \
    GTEST_SKIP() << "AddressSanitizer does not follow the stack that a cancel request unwinds"
#else
#define SKIP_WHERE_CANCELLATION_IS_NOT_FOLLOWED() static_cast<void>(0)
#endif
