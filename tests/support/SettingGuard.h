// Gives a setting another value for the life of the guard.
#pragma once

template<class Setting> class SettingGuard {
public:
    explicit SettingGuard(Setting &setting) : m_setting(setting), m_before(setting) {}
    SettingGuard(Setting &setting, Setting value) : SettingGuard(setting) { setting = value; }
    ~SettingGuard() { m_setting = m_before; }

    SettingGuard(const SettingGuard &) = delete;
    SettingGuard &operator=(const SettingGuard &) = delete;

private:
    Setting &m_setting;
    Setting m_before;
};
