// How much memory the texts of answers have together: those that are kept, those that wait for their clients and those
// that clients are taking. A text counts until the last who shares it lets it go, on whatever thread that is.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

namespace zel {

using SharedText = std::shared_ptr<const std::string>;

class TextBudget {
public:
    explicit TextBudget(std::size_t most) : m_most(most) {}

    /// The text to be shared. Null when there is no room for it beside the others.
    SharedText share(std::string text);
    std::size_t used() const { return *m_used; }

private:
    std::size_t m_most;
    std::shared_ptr<std::atomic<std::size_t>> m_used = std::make_shared<std::atomic<std::size_t>>(0);
};

} // namespace zel
