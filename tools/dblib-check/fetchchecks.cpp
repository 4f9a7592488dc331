// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "translation.h"

#include <cstring>

namespace
{
// Status and count.

/** Full and empty answers from both ends. */
template <class Kind> std::vector<typename Kind::Request> typicalRequests()
{
    if constexpr (std::is_same_v<Kind, SensorKind>)
        return {SensorRequest()};
    else
        return {plain<Kind>(10, false), plain<Kind>(10, true), plain<Kind>(1000, false), nothing<Kind>()};
}

/** Looks at each typical answer between fetch and release until `judge` finds a fault. */
template <class Judge> Outcome judgeAnswers(const Target &target, Judge judge)
{
    const Session session(target);
    std::string fault;
    forEachKind(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        for (const auto &request : typicalRequests<Kind>()) {
            auto fetched = fetch<Kind>(session.library, request);
            const std::string found = judge(fetched);
            release<Kind>(session.library, fetched, request);
            if (fault.empty() && !found.empty())
                fault = Kind::describe(request) + ": " + found;
        }
    });
    return fault.empty() ? passed() : failed(fault);
}

Outcome checkCount(const Target &target)
{
    return judgeAnswers(target, [](const auto &fetched) {
        std::string count = "the count is " + std::to_string(fetched.count);
        if (fetched.count < 0)
            return count;
        if (fetched.count > 0 && !fetched.array)
            return count + ", the array is NULL";
        if (fetched.readableCount() < fetched.count)
            return count + ", the array holds " + std::to_string(fetched.readableCount());
        return std::string();
    });
}

Outcome checkStatus(const Target &target)
{
    return judgeAnswers(target, [](const auto &fetched) {
        return fetched.status == 0 ? std::string() : "the result is " + std::to_string(fetched.status) + ", 0 expected";
    });
}

// The request.

template <class Kind> std::string requestFault(const Library &library, const typename Kind::Request &request)
{
    using Request = typename Kind::Request;
    // What goes past the request is the finding of another check: here it must not hit the copy.
    struct {
        Request request;
        char behind[64];
    } handed = {Request(request), {}};
    Request &given = handed.request;
    char bytes[sizeof(Request)];
    std::memcpy(bytes, static_cast<const void *>(&given), sizeof(Request));
    stage("fetching the " + Kind::describe(request));
    Slots<typename Kind::Record> slots;
    const auto changed = [&] {
        bool same = std::memcmp(bytes, static_cast<const void *>(&given), sizeof(Request)) == 0;
        for (auto mask : Kind::masks())
            same = same && (!(request.*mask) || std::strcmp(given.*mask, request.*mask) == 0);
        return !same;
    };
    Kind::get(library, &slots.count, &slots.array, &given);
    const bool byFetch = changed();
    Kind::get(library, nullptr, &slots.array, &given);
    if (!byFetch && !changed())
        return {};
    // What the library left in the request may be nothing that can be released.
    std::memset(static_cast<void *>(&given), 0, sizeof(Request));
    return "the request for the " + Kind::describe(request) + " was changed by the " + (byFetch ? "fetch" : "release");
}

Outcome checkRequestUnchanged(const Target &target)
{
    const Session session(target);
    std::string fault;
    forEachSelected(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        for (const auto &request :
             {plain<Kind>(10, false), plain<Kind>(10, true), plain<Kind>(1, true), fullRequest<Kind>(session.library)})
            if (fault.empty())
                fault = requestFault<Kind>(session.library, request);
    });
    return fault.empty() ? passed() : failed(fault);
}
} // namespace

std::vector<Check> fetchChecks()
{
    return {
        {"status", translatable("fetches that work return 0, empty answers too"),
         translatable("The window takes the answer for a failure and does not show it."), checkStatus},
        {"count", translatable("the count equals the records in the array"),
         translatable("The console reads past the library's array: it goes down or shows rubbish."), checkCount},
        {"request-unchanged", translatable("the request and its masks are only read"),
         translatable("The window's next update asks for something else than its controls show."),
         checkRequestUnchanged},
    };
}
