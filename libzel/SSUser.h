// CSSUser: the user names of the process collector. Each uid is looked up in the password database once and its name
// kept in one of 128 slots; a uid without an entry is kept under its decimal text. A uid whose slot another one takes
// is looked up again when it returns. The cache is never emptied: a user that is renamed keeps the first name. Not
// thread-safe (getpwuid).
#pragma once

/// One slot; free while its name is empty.
struct ST_HASH_EL {
    int uid;
    char name[32];
};

class CSSUser {
public:
    static constexpr int HASH_SIZE = 128;

    CSSUser();

    CSSUser(const CSSUser &) = delete;
    CSSUser &operator=(const CSSUser &) = delete;

    /// The name of `uid`. It belongs to the cache and holds until another uid takes its slot.
    char *fUserName(int uid);
    /// Looks `uid` up in the password database and stores the result. Returns the slot of the stored entry.
    int fGetUser(int uid);
    /// Stores a name (cut at 31 characters) and returns its slot. An entry of the same uid is kept, one of another uid
    /// is replaced.
    int fAdd2Hash(int uid, const char *name);

    ST_HASH_EL m_stHashTable[HASH_SIZE];
};
