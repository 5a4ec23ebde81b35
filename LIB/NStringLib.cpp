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
