// The settings of the library are shared by a whole program. This guard makes each test start with those of a fresh
// program, whatever the test before did (see main.cpp), so that no test has to give back what it set.
#pragma once

#include <cstddef>
#include <vector>

/// A setting, as bytes.
struct Setting {
    const char *name;
    void *place;
    std::size_t size;
};

/// Every setting that the guard covers.
const std::vector<Setting> &knownSettings();

/// Adds settings of a library that not every test program links; one object of static storage duration for a list.
class KnownSettings {
public:
    explicit KnownSettings(const std::vector<Setting> &settings);
};

/// Keeps the settings and gives back those that changed.
class SavedSettings {
public:
    SavedSettings();
    ~SavedSettings();

    SavedSettings(const SavedSettings &) = delete;
    SavedSettings &operator=(const SavedSettings &) = delete;

private:
    std::vector<std::vector<char>> m_values;
};

template<class Value> Setting settingOf(const char *name, Value &value) {
    return {name, static_cast<void *>(&value), sizeof(value)};
}

#define SETTING(name) settingOf(#name, name)
