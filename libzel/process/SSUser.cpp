// The user names of the process collector.
#include "SSUser.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>

namespace {

constexpr std::size_t numberTextSize = 8; // longer numbers show their first 7 characters

// |uid| modulo the table size, taken in 64 bits: the smallest int has no positive counterpart.
int slotOf(int uid) {
    return static_cast<int>(std::llabs(uid) % CSSUser::HASH_SIZE);
}

bool holds(const ST_HASH_EL &slot, int uid) {
    return slot.name[0] != '\0' && slot.uid == uid;
}

} // namespace

CSSUser::CSSUser() : m_stHashTable{} {}

char *CSSUser::fUserName(int uid) {
    ST_HASH_EL &slot = m_stHashTable[slotOf(uid)];
    if (holds(slot, uid))
        return slot.name;
    return m_stHashTable[fGetUser(uid)].name;
}

int CSSUser::fGetUser(int uid) {
    const passwd *entry = getpwuid(static_cast<uid_t>(uid));
    if (entry != nullptr)
        return fAdd2Hash(static_cast<int>(entry->pw_uid), entry->pw_name);
    char number[numberTextSize];
    std::snprintf(number, sizeof(number), "%d", uid);
    return fAdd2Hash(uid, number);
}

int CSSUser::fAdd2Hash(int uid, const char *name) {
    const int index = slotOf(uid);
    ST_HASH_EL &slot = m_stHashTable[index];
    if (holds(slot, uid))
        return index;
    slot.uid = uid;
    std::memset(slot.name, 0, sizeof(slot.name));
    std::memcpy(slot.name, name, strnlen(name, sizeof(slot.name) - 1));
    return index;
}
