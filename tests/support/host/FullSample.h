// A sample that has everything: two rows in each list, and a value in every field.
#pragma once

#include "host/Sample.h"

#include <string_view>

struct FullSample {
    /// Every field has a value of its own.
    static zel::Sample make();
    /// Every text is this one, of labels, too, so that rows have the same.
    static zel::Sample withText(std::string_view text);
};
