// Random damage to a text, the same on every run: what a parser of outside text must survive.
#pragma once

#include <random>
#include <string>

class Mutation {
public:
    explicit Mutation(unsigned seed) : m_random(seed) {}

    /// `text` with up to eight bytes replaced, inserted, removed or whole stretches doubled or dropped.
    std::string of(std::string text) {
        for (std::size_t change = 0, changes = 1 + below(8); change < changes && !text.empty(); ++change) {
            const std::size_t at = below(text.size());
            const std::size_t length = below(600);
            switch (below(5)) {
            case 0:
                text[at] = static_cast<char>(below(256));
                break;
            case 1:
                text.insert(at, 1, ":\"\n\0 B"[below(6)]);
                break;
            case 2:
                text.erase(at, 1);
                break;
            case 3:
                text.insert(at, text.substr(below(text.size()), length));
                break;
            default:
                text.erase(at, length);
                break;
            }
        }
        return text;
    }

private:
    std::size_t below(std::size_t limit) { return m_random() % limit; }

    std::mt19937 m_random;
};
