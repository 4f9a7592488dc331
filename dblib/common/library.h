// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "records.h"
#include "settings.h"
#include "store.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

struct CMessageCommand;
struct CMessageEvent;
struct CSensor;

/** Opens the database that the settings name: each DB library has its own. Throws StoreError, std::bad_alloc. */
std::unique_ptr<Store> openStore(const Settings &settings);

/** Arrays that were lent out, until they are handed back. */
template <class Record> using Loans = std::map<const Record *, std::unique_ptr<Records<Record>>>;

/** The open database and what was lent out of it. One caller at a time. */
class Library
{
public:
    static constexpr int Failure = -1;

    /** Opens the database of a configuration directory. */
    int initialise(const char *configDir);

    /** `fetch` gets the records from the store; they are lent out through `n` and `records`. */
    template <class Record, class Fetch>
    int lend(const char *what, int *n, Record **records, Loans<Record> &loans, Fetch fetch)
    {
        return perform(what, [&] {
            if (n)
                *n = 0;
            if (!n || !records)
                throw std::invalid_argument("no place for the records was given");
            *records = nullptr;
            std::unique_ptr<Records<Record>> found = fetch();
            if (Record *array = found->data()) {
                const int count = found->size();
                loans.emplace(array, std::move(found));
                *records = array;
                *n = count;
            }
        });
    }

    /** Takes an array back. */
    template <class Record> int release(const char *what, Record **records, Loans<Record> &loans)
    {
        return perform(what, [&] {
            Record *const array = *records;
            *records = nullptr;
            if (array && loans.erase(array) == 0)
                throw std::invalid_argument("the array that was handed back is none of this library's");
        });
    }

    /** Runs an action; a fault becomes a message and Failure. */
    template <class Action> int perform(const char *what, Action action)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        try {
            action();
            forgetReport(what);
            return 0;
        } catch (const std::bad_alloc &) {
            report(what, "not enough memory");
        } catch (const std::exception &error) {
            report(what, error.what());
        }
        return Failure;
    }

    /** The open store. Throws why there is none. */
    Store &store();
    /** Of an open store. */
    int deadAfter() const
    {
        return m_settings->deadAfterSeconds;
    }
    void close();

    Loans<CSensor> sensors;
    Loans<CMessageEvent> events;
    Loans<CMessageCommand> commands;

private:
    /** In a forked child the connection is still the parent's; closing it here would take the parent's locks. */
    void leaveParentsStore();
    /** Needs no memory: what has succeeded must not be told as a failure. */
    void forgetReport(const char *what) noexcept;
    /** One line; not again while the same action goes on failing for the same reason, as a timer may repeat it. */
    void report(const char *what, const char *reason) noexcept;

    std::mutex m_mutex;
    std::string m_configDir;
    std::optional<Settings> m_settings; ///< read when they are needed first
    std::unique_ptr<Store> m_opened;
    pid_t m_owner = 0;
    std::vector<Store *> m_parents;
    std::map<std::string, std::string, std::less<>> m_reported;
};
