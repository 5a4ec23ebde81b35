// Makes, copies and moves a sample.
#include "host/Sample.h"

namespace zel {

Sample::Sample() = default;
Sample::~Sample() = default;
Sample::Sample(const Sample &) = default;
Sample::Sample(Sample &&) noexcept = default;
Sample &Sample::operator=(const Sample &) = default;
Sample &Sample::operator=(Sample &&) noexcept = default;

} // namespace zel
