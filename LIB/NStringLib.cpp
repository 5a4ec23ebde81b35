#include "NStringLib.h"

#include <cstring>

char *Nstrtok(char *text, const char *delimiters, char **save) {
    char *token = text != nullptr ? text : *save;
    if (token == nullptr)
        return nullptr;
    char *end = token + std::strcspn(token, delimiters);
    if (*end == '\0') {
        *save = nullptr;
        return token;
    }
    while (*end != '\0' && std::strchr(delimiters, *end) != nullptr)
        *end++ = '\0';
    *save = end;
    return token;
}

char *Nstrstrtok(char *text, const char *separator, char **save) {
    char *token = text != nullptr ? text : *save;
    if (token == nullptr)
        return nullptr;
    const std::size_t length = std::strlen(separator);
    char *found = length > 0 ? std::strstr(token, separator) : nullptr;
    if (found == nullptr) {
        *save = nullptr;
        return token;
    }
    std::memset(found, 0, length);
    *save = found + length;
    return token;
}
