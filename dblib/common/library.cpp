// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#include <cstdio>
#include <new>
#include <stdexcept>
#include <unistd.h>

int Library::initialise(const char *configDir)
{
    return perform("cannot open the database", [&] {
        if (!configDir)
            throw std::invalid_argument("no configuration directory was given");
        // Whatever fails from here on, no call may go to the database of before.
        m_settings.reset();
        m_configDir.clear();
        m_configDir = *configDir ? configDir : ".";
        store().open();
    });
}

Store &Library::store()
{
    if (m_configDir.empty())
        throw std::logic_error("the library was not initialised");
    if (!m_settings)
        m_settings = readSettings(m_configDir);
    leaveParentsStore();
    if (m_opened && !m_opened->serves(*m_settings)) {
        m_opened->leave();
        m_opened.reset();
    }
    if (!m_opened) {
        m_opened = openStore(*m_settings);
        m_owner = ::getpid();
    }
    return *m_opened;
}

void Library::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    leaveParentsStore();
    m_opened.reset();
}

void Library::leaveParentsStore()
{
    if (m_opened && m_owner != ::getpid()) {
        m_parents.push_back(nullptr);
        m_parents.back() = m_opened.release();
    }
}

void Library::forgetReport(const char *what) noexcept
{
    const auto found = m_reported.find(what);
    if (found != m_reported.end())
        m_reported.erase(found);
}

void Library::report(const char *what, const char *reason) noexcept
{
    try {
        std::string &last = m_reported[what];
        if (last == reason)
            return;
        last = reason;
    } catch (const std::bad_alloc &) {
        // The message matters more than its repetition.
    }
    std::fprintf(stderr, "DBLib: %s: %s\n", what, reason);
}
