// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "answer.h"
#include "lentarray.h"

#include <map>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <utility>

/** Lends the console the arrays of answers, each with the bytes that its texts lie in, until it hands them back. */
template <class Bytes> class Lender
{
public:
    /** Sets `n` and `records`, which is NULL, to what the answer says that `bytes` are; gives its result. */
    template <class Record> int lend(Bytes bytes, const Calls::Answer &answer, int *n, Record **records)
    {
        if (const auto &reader = recordsOf(answer, *records)) {
            auto loan = std::make_unique<Loan<Record>>(std::move(bytes), *reader);
            Record *array = loan->records.data();
            loansOf<Record>().emplace(array, std::move(loan));
            *records = array;
        }
        *n = answer.count;
        return answer.head.result;
    }
    /** The release of a fetch function. Throws std::invalid_argument for what was not lent. */
    template <class Record> int takeBack(Record **records)
    {
        Record *const array = *records;
        *records = nullptr;
        if (array && loansOf<Record>().erase(array) == 0)
            throw std::invalid_argument("the array that was handed back is none of this library's");
        return 0;
    }

private:
    template <class Record> struct Loan {
        Loan(Bytes lent, const Calls::RecordsReader<Record> &reader)
            : bytes(std::move(lent))
            , records(reader)
        {
        }
        Bytes bytes;
        LentArray<Record> records;
    };
    template <class Record> using Loans = std::map<const Record *, std::unique_ptr<Loan<Record>>>;

    template <class Record> Loans<Record> &loansOf()
    {
        return std::get<Loans<Record>>(m_loans);
    }
    static const auto &recordsOf(const Calls::Answer &answer, const CSensor *)
    {
        return answer.sensors;
    }
    static const auto &recordsOf(const Calls::Answer &answer, const CMessageEvent *)
    {
        return answer.events;
    }
    static const auto &recordsOf(const Calls::Answer &answer, const CMessageCommand *)
    {
        return answer.commands;
    }

    std::tuple<Loans<CSensor>, Loans<CMessageEvent>, Loans<CMessageCommand>> m_loans;
};

/** Makes the places of a fetch's results empty. Throws std::invalid_argument when there are none. */
template <class Record> void emptyPlaces(int *n, Record **records)
{
    if (n)
        *n = 0;
    if (!n || !records)
        throw std::invalid_argument("no place for the records was given");
    *records = nullptr;
}
