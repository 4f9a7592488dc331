// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dblibrary.h"
#include "installation.h"
#include "recordkinds.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

/** A DB library as the loader found it. */
struct LoadedLibrary {
    LoadOutcome outcome = LoadOutcome::NoFile;
    DBFunctions functions;
    std::vector<std::string> reasons; ///< the loader's own words on what is missing, without line feeds
};

LoadedLibrary loadLibraryOf(const Installation &installation);

/** Records that a DB library has lent; they are handed back with this. One at a time, as the console does it. */
template <class Record> class LentRecords
{
public:
    /** One of the library's fetch functions with its request, which it may be given twice. */
    using Function = std::function<int(int *, Record **)>;

    /** Fetches. `name` is that of the function. Throws Failure when that fails. */
    LentRecords(const char *name, Function function);
    LentRecords(const LentRecords &) = delete;
    LentRecords &operator=(const LentRecords &) = delete;
    ~LentRecords();

    int size() const
    {
        return m_count;
    }
    const Record *begin() const
    {
        return m_array;
    }
    const Record *end() const
    {
        return m_array + m_count;
    }

private:
    void release();

    const char *m_name;
    Function m_function;
    Record *m_array = nullptr;
    int m_count = 0;
};

/** The records of an installation, by its DB library. Every function throws Failure, which names what failed. */
class Source
{
public:
    /** Loads the library of `installation` and initialises it, as the console does. */
    explicit Source(const Installation &installation);
    Source(const Installation &installation, const LoadedLibrary &library);

    const Installation &installation() const
    {
        return m_installation;
    }
    const DBFunctions &functions() const
    {
        return m_functions;
    }

    LentRecords<CSensor> sensors() const;
    LentRecords<CMessageEvent> fetch(const CMessageEventRequest &request) const;
    LentRecords<CMessageCommand> fetch(const CMessageCommandRequest &request) const;
    /** Returns the library's own result: 0 as a rule when the record was stored. */
    int put(CMessageCommand &command) const;
    int put(CMessageEvent &event) const;
    /** What the library returns says nothing; whether the record is gone is seen by fetching it. */
    void removeEvent(int id) const;
    void removeCommand(int id) const;

    /** What is wrong with the sizes of the records of one of the three fetch functions; empty when they agree. */
    std::string sizeFault(DBFunction which) const;

private:
    void initialise() const;
    void requireSizes(DBFunction which) const;

    Installation m_installation;
    DBFunctions m_functions;
    mutable std::vector<DBFunction> m_agreed; ///< whose sizes were found to agree
};

extern template class LentRecords<CSensor>;
extern template class LentRecords<CMessageEvent>;
extern template class LentRecords<CMessageCommand>;
