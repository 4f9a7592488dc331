// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file An installation with the library under test, and the answers of that library. */

#include "LoadDLL.h"
#include "data.h"
#include "databaseundertest.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

/** Its library is a copied file, which is loaded anew: no test meets another's state. */
class LibraryInstallation
{
public:
    LibraryInstallation()
    {
        std::filesystem::create_directories(configDir());
        std::filesystem::create_directories(m_folder.file("Libs"));
        databaseUnderTest().nameFreshDatabase(configDir());
    }
    std::string configDir() const
    {
        return m_folder.file("Config");
    }
    /** Loads the library, a further time as a program that starts would. */
    void load()
    {
        // A new file: the loader would take the one that it knows.
        const std::string library = m_folder.file("Libs/DBLib.a");
        std::filesystem::copy_file(databaseUnderTest().library(), library + ".new");
        std::filesystem::rename(library + ".new", library);
        ConfigWD = QString::fromLocal8Bit(configDir().c_str());
        ASSERT_EQ(LoadDLL(QString::fromLocal8Bit(m_folder.file("Libs").c_str())), 0);
        ASSERT_NE(FDBDeleteEvent, nullptr);
    }
    void initialise() const
    {
        ASSERT_EQ(FInitDBSensors(configDir().c_str()), 0);
        ASSERT_EQ(FInitDBEvents(configDir().c_str()), 0);
        ASSERT_EQ(FInitDBCommands(configDir().c_str()), 0);
    }

private:
    TemporaryFolder m_folder;
};

inline int fetch(int *n, CMessageEvent **records, CMessageEventRequest *request)
{
    return FDBGetEvents(n, records, request);
}

inline int fetch(int *n, CMessageCommand **records, CMessageCommandRequest *request)
{
    return FDBGetCommands(n, records, request);
}

/** What the library lends for a request, handed back at the end. */
template <class Record> class Answer
{
public:
    template <class Request>
    explicit Answer(Request &request)
        : m_release([this, &request] { fetch(nullptr, &m_records, &request); })
    {
        EXPECT_EQ(fetch(&m_count, &m_records, &request), 0);
    }
    Answer(const Answer &) = delete;
    Answer &operator=(const Answer &) = delete;
    ~Answer()
    {
        m_release();
    }
    int size() const
    {
        return m_count;
    }
    const Record &operator[](int index) const
    {
        return m_records[index];
    }

private:
    int m_count = 0;
    Record *m_records = nullptr;
    std::function<void()> m_release;
};
