// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "faulthandler.h"
#include "guardpage.h"
#include "translation.h"

#include <cstring>

namespace
{
// What the library is handed.

/** A copy of the request right before a guard page, its masks likewise. It owns nothing and is never destroyed. */
template <class Kind> typename Kind::Request *guardedRequest(const typename Kind::Request &request)
{
    using Request = typename Kind::Request;
    auto *copy =
        static_cast<Request *>(GuardPage::copy(static_cast<const void *>(&request), sizeof(Request), "the request"));
    if constexpr (!std::is_same_v<Kind, SensorKind>) {
        const char *name = "the sensor mask";
        for (auto mask : Kind::masks()) {
            if (request.*mask)
                copy->*mask = static_cast<char *>(GuardPage::copy(request.*mask, std::strlen(request.*mask) + 1, name));
            name = "the event name mask";
        }
    }
    return copy;
}

template <class Kind> void fetchGuarded(const Library &library, const typename Kind::Request &request)
{
    stage("fetching the " + Kind::describe(request) + " into guarded memory");
    GuardPage::recycle();
    int *count = static_cast<int *>(GuardPage::end(sizeof(int), "the count"));
    auto **array = static_cast<typename Kind::Record **>(GuardPage::end(sizeof(void *), "the array's address"));
    Kind::get(library, count, array, guardedRequest<Kind>(request));
    Kind::get(library, nullptr, array, guardedRequest<Kind>(request));
}

void initialiseGuarded(const Library &library, const std::string &config)
{
    stage("initialising with a guarded directory name");
    GuardPage::recycle();
    const auto *name = static_cast<const char *>(
        GuardPage::copy(config.c_str(), config.size() + 1, "the name of the configuration directory"));
    initialiseAll(library, name);
}

Outcome checkOverrun(const Target &target)
{
    const Session session(target);
    initialiseGuarded(session.library, target.config);
    forEachKind(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        fetchGuarded<Kind>(session.library, plain<Kind>(10, false));
        fetchGuarded<Kind>(session.library, plain<Kind>(10, true));
    });
    forEachSelected(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        fetchGuarded<Kind>(session.library, fullRequest<Kind>(session.library));
    });
    return passed();
}

// The library's own blocks.

const char *explainHeap(const void *address)
{
    return Heap::isGuard(address) ? "the library went past a block of its own, or used one that it had freed" : nullptr;
}

Outcome checkMemory(const Target &target)
{
    const Session session(target);
    for (int i = 0; i < 3; ++i) {
        useAsConsole(session.library);
        forEachSelected(session.library, [&](auto kind) {
            using Kind = decltype(kind);
            ask<Kind>(session.library, fullRequest<Kind>(session.library));
        });
        session.initialise(target.config);
    }
    // Once more with a guard page behind each block. No masks: what the library does to them is judged elsewhere.
    FaultHandler::add(explainHeap);
    Heap::guard(true);
    useAsConsole(session.library);
    Heap::guard(false);
    const Heap::Faults faults = Heap::faults() - session.whileFilling;
    return faults.any() ? failed(faults.text()) : passed();
}
} // namespace

std::vector<Check> memoryChecks()
{
    return {
        {"overrun",
         translatable("the library stays within directory name, count, address, request and masks that it is handed"),
         translatable("The console's own memory is corrupt: it goes down later, anywhere."), checkOverrun},
        {"memory",
         translatable("nothing past a block is touched, no block used after its end or freed twice"),
         translatable("The console goes down later, anywhere."),
         checkMemory,
         {"release-order", "release-null"}},
    };
}
