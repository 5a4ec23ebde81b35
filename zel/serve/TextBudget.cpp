// Counts the memory of texts that are shared.
#include "zel/serve/TextBudget.h"

#include <utility>

namespace zel {

namespace {

// A text with its part of what is used.
struct CountedText {
    std::string text;
    std::size_t bytes;
    std::shared_ptr<std::atomic<std::size_t>> used;

    CountedText(std::string given, std::shared_ptr<std::atomic<std::size_t>> counter)
        : text(std::move(given)), bytes(text.capacity()), used(std::move(counter)) {
        *used += bytes;
    }
    ~CountedText() { *used -= bytes; }
    CountedText(const CountedText &) = delete;
    CountedText &operator=(const CountedText &) = delete;
};

} // namespace

SharedText TextBudget::share(std::string text) {
    if (used() + text.capacity() > m_most)
        return nullptr;
    const auto counted = std::make_shared<CountedText>(std::move(text), m_used);
    return {counted, &counted->text};
}

} // namespace zel
