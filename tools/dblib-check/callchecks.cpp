// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
// Size query.

struct Size {
    const char *function;
    DBFunction which;
    int wanted;
    int (*query)(const Library &library);
};

const Size Sizes[] = {
    {"FDBGetSensors(NULL,NULL)", DBFunctionGetSensors, SensorSize,
     [](const Library &library) { return library.getSensors(nullptr, nullptr); }},
    {"FDBGetEvents(NULL,NULL,NULL)", DBFunctionGetEvents, EventSizes,
     [](const Library &library) { return library.getEvents(nullptr, nullptr, nullptr); }},
    {"FDBGetCommands(NULL,NULL,NULL)", DBFunctionGetCommands, CommandSizes,
     [](const Library &library) { return library.getCommands(nullptr, nullptr, nullptr); }},
};

Outcome checkSizeQuery(const Target &target)
{
    const Session session(target);
    for (int round = 0; round < 100; ++round) {
        for (const Size &size : Sizes) {
            if (!session.library.has(size.which))
                continue;
            stage(std::string("calling ") + size.function);
            const int got = size.query(session.library);
            if (got != size.wanted) {
                return failed(std::string(size.function) + " returned " + std::to_string(got) + " at call " +
                              std::to_string(round + 1) + ", " + std::to_string(size.wanted) + " expected");
            }
        }
        if (round == 50)
            useAsConsole(session.library);
    }
    return passed();
}

// Initialisation.

Outcome checkInitialise(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    const std::vector<int> results = session.initialise(target.config);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i] != 0) {
            return warned("initialiser " + std::to_string(i + 1) + " of " + std::to_string(results.size()) +
                          " returned " + std::to_string(results[i]) + " for " + target.config);
        }
    }
    return passed();
}

Outcome checkInitialiseTwice(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    const std::vector<int> first = session.initialise(target.config);
    const View before = look(session.library);
    for (int i = 0; i < 20; ++i)
        if (session.initialise(target.config) != first)
            return failed("the results differ from those of the first time");
    if (!(look(session.library) == before))
        return failed("the sensors, the oldest events or commands are others than before");
    return passed();
}

Outcome checkBeforeInitialise(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    useAsConsole(session.library);
    return passed();
}

Outcome checkMissingDirectory(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    session.initialise("/proc/no-such-directory/Config");
    useAsConsole(session.library);
    session.initialise(target.config);
    useAsConsole(session.library);
    return passed();
}

// Fetch and release.

template <class Record> std::string countFault(const std::string &what, const Fetched<Record> &fetched)
{
    if (fetched.count < 0)
        return what + ": the count is " + std::to_string(fetched.count);
    if (fetched.count > 0 && !fetched.array)
        return what + ": the count is " + std::to_string(fetched.count) + ", the array is NULL";
    if (fetched.readableCount() < fetched.count) {
        return what + ": the count is " + std::to_string(fetched.count) + ", the array holds " +
               std::to_string(fetched.readableCount());
    }
    return {};
}

template <class Kind> std::string countFault(const Library &library)
{
    auto nothing = plain<Kind>(10, false);
    Kind::setLowest(nothing, 1);
    Kind::setHighest(nothing, 0);
    for (const auto &request : {plain<Kind>(10, false), plain<Kind>(10, true), plain<Kind>(1000, false), nothing}) {
        auto fetched = fetch<Kind>(library, request);
        std::string fault = countFault(Kind::describe(request), fetched);
        release<Kind>(library, fetched, request);
        if (!fault.empty())
            return fault;
    }
    return {};
}

Outcome checkCount(const Target &target)
{
    const Session session(target);
    std::string fault;
    if (session.library.has(DBFunctionGetSensors)) {
        Fetched<CSensor> fetched = fetchSensors(session.library);
        fault = countFault("sensors", fetched);
        releaseSensors(session.library, fetched);
    }
    if (fault.empty() && session.library.has(DBFunctionGetEvents))
        fault = countFault<EventKind>(session.library);
    if (fault.empty() && session.library.has(DBFunctionGetCommands))
        fault = countFault<CommandKind>(session.library);
    return fault.empty() ? passed() : failed(fault);
}

template <class Kind> std::string statusFault(const Library &library)
{
    auto nothing = plain<Kind>(10, false);
    Kind::setLowest(nothing, 1);
    Kind::setHighest(nothing, 0);
    for (const auto &request : {plain<Kind>(10, false), plain<Kind>(10, true), nothing}) {
        const int status = ask<Kind>(library, request).status;
        if (status != 0)
            return Kind::describe(request) + ": the result is " + std::to_string(status) + ", 0 expected";
    }
    return {};
}

Outcome checkStatus(const Target &target)
{
    const Session session(target);
    std::string fault;
    if (session.library.has(DBFunctionGetSensors)) {
        const int status = askSensors(session.library).status;
        fault = status == 0 ? "" : "sensors: the result is " + std::to_string(status) + ", 0 expected";
    }
    if (fault.empty() && session.library.has(DBFunctionGetEvents))
        fault = statusFault<EventKind>(session.library);
    if (fault.empty() && session.library.has(DBFunctionGetCommands))
        fault = statusFault<CommandKind>(session.library);
    return fault.empty() ? passed() : failed(fault);
}

/** Calls `act` for each kind that the library can fetch. */
template <class Act> void forEachKind(const Library &library, Act act)
{
    if (library.has(DBFunctionGetEvents))
        act(EventKind());
    if (library.has(DBFunctionGetCommands))
        act(CommandKind());
}

void releaseNothing(const Library &library)
{
    if (library.has(DBFunctionGetSensors)) {
        Fetched<CSensor> none;
        releaseSensors(library, none);
    }
    forEachKind(library, [&](auto kind) {
        using Kind = decltype(kind);
        Fetched<typename Kind::Record> none;
        release<Kind>(library, none, plain<Kind>(10, false));
    });
}

Outcome checkReleaseNull(const Target &target)
{
    const Session session(target);
    const Heap::Faults faults = Heap::faultsOf([&] {
        releaseNothing(session.library);
        releaseNothing(session.library);
    });
    return faults.any() ? failed("releasing NULL: " + faults.text()) : passed();
}

/** Fetches and releases what a request selects; the bytes of the array that came. */
template <class Kind> std::size_t passThrough(const Library &library, const typename Kind::Request &request)
{
    auto fetched = fetch<Kind>(library, request);
    const std::size_t bytes = std::size_t(fetched.readableCount()) * sizeof(typename Kind::Record);
    release<Kind>(library, fetched, request);
    return bytes;
}

Outcome checkReleaseOnce(const Target &target)
{
    const Session session(target);
    const auto fetchAll = [&] {
        std::size_t bytes = 0;
        forEachKind(session.library, [&](auto kind) {
            bytes += passThrough<decltype(kind)>(session.library, plain<decltype(kind)>(20, false));
        });
        return bytes;
    };
    constexpr int rounds = 50;
    // A library may keep a few arrays for later use.
    for (int i = 0; i < rounds; ++i)
        fetchAll();
    const std::size_t before = Heap::liveBytes();
    std::size_t given = 0;
    for (int i = 0; i < rounds; ++i)
        given += fetchAll();
    if (given == 0)
        return skipped("the store has no records; --write brings some");
    const std::size_t after = Heap::liveBytes();
    return after < before + given / 2 ? passed()
                                      : failed("of arrays of " + std::to_string(given) + " bytes, " +
                                               std::to_string(after - before) + " bytes stayed after their release");
}

/** Fetches of every kind, each released so many times. */
void fetchAndRelease(const Library &library, int times)
{
    if (library.has(DBFunctionGetSensors)) {
        Fetched<CSensor> fetched = fetchSensors(library);
        for (int i = 0; i < times; ++i)
            releaseSensors(library, fetched);
    }
    forEachKind(library, [&](auto kind) {
        using Kind = decltype(kind);
        const auto request = plain<Kind>(10, false);
        auto fetched = fetch<Kind>(library, request);
        for (int i = 0; i < times; ++i)
            release<Kind>(library, fetched, request);
    });
}

Outcome checkReleaseTwice(const Target &target)
{
    const Session session(target);
    const Heap::Faults once = Heap::faultsOf([&] { fetchAndRelease(session.library, 1); });
    const Heap::Faults twice = Heap::faultsOf([&] { fetchAndRelease(session.library, 2); });
    // What a single release does wrong already is told elsewhere.
    return (twice - once).doubleFrees == 0 ? passed() : warned("after a second release: " + twice.text());
}

template <class Record> std::vector<Record> readAll(const Fetched<Record> &fetched)
{
    RecordReader reader;
    std::vector<Record> records;
    for (int i = 0, readable = fetched.readableCount(); i < readable; ++i)
        records.push_back(reader.read(fetched.array[i]));
    return records;
}

/** Three arrays of a kind at once: releasing the second one must leave the others. */
template <class Kind> std::string orderFault(const Library &library)
{
    const auto request = plain<Kind>(10, false);
    std::vector<Fetched<typename Kind::Record>> open;
    for (int i = 0; i < 3; ++i)
        open.push_back(fetch<Kind>(library, request));
    const auto first = readAll(open[0]);
    const auto third = readAll(open[2]);
    release<Kind>(library, open[1], request);
    stage(std::string("reading ") + Kind::Plural + " while another array of them is released");
    const bool unchanged = sameRecords(first, readAll(open[0])) && sameRecords(third, readAll(open[2]));
    release<Kind>(library, open[0], request);
    release<Kind>(library, open[2], request);
    return unchanged ? std::string() : std::string("releasing one array of ") + Kind::Plural + " changed another";
}

Outcome checkReleaseOrder(const Target &target)
{
    const Session session(target);
    const Heap::Faults apart = Heap::faultsOf([&] {
        for (int i = 0; i < 6; ++i)
            fetchAndRelease(session.library, 1);
    });
    std::string fault;
    const Heap::Faults mixed = Heap::faultsOf([&] {
        forEachKind(session.library, [&](auto kind) {
            const std::string found = orderFault<decltype(kind)>(session.library);
            fault = fault.empty() ? found : fault;
        });
    });
    // What releasing does wrong in any order is told elsewhere.
    if (fault.empty() && (mixed.doubleFrees > apart.doubleFrees || mixed.invalidFrees > apart.invalidFrees))
        fault = "several arrays, released in another order: " + mixed.text();
    return fault.empty() ? passed() : failed(fault);
}

template <class Kind> std::string validityFault(const Session &session)
{
    const auto request = plain<Kind>(10, false);
    auto held = fetch<Kind>(session.library, request);
    const auto before = readAll(held);
    useAsConsole(session.library);
    askIds<Kind>(session.library, plain<Kind>(3, true));
    stage(std::string("reading ") + Kind::Plural + " that were fetched before other calls");
    const bool unchanged = sameRecords(before, readAll(held));
    release<Kind>(session.library, held, request);
    return unchanged ? std::string()
                     : std::string("the ") + Kind::Plural + " changed through calls made before their release";
}

Outcome checkValidity(const Target &target)
{
    const Session session(target);
    std::string fault;
    forEachKind(session.library, [&](auto kind) {
        if (fault.empty())
            fault = validityFault<decltype(kind)>(session);
    });
    return fault.empty() ? passed() : failed(fault);
}

// The request.

/** A request of each kind with every field set, so that a change to any of them shows. */
template <class Kind> typename Kind::Request fullRequest(const Library &library)
{
    auto request = plain<Kind>(10, false);
    std::mt19937 random(1);
    for (const auto &filter : Kind::filters(ask<Kind>(library, request).records, random))
        filter.terms[filter.terms.size() / 2].apply(request);
    return request;
}

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
    forEachKind(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        for (const auto &request :
             {plain<Kind>(10, false), plain<Kind>(10, true), plain<Kind>(1, true), fullRequest<Kind>(session.library)})
            if (fault.empty())
                fault = requestFault<Kind>(session.library, request);
    });
    return fault.empty() ? passed() : failed(fault);
}

// What the library is handed, at the very end of readable memory.

/** One page with a closed page on either side. */
class GuardedPage
{
public:
    GuardedPage()
        : m_page(std::size_t(sysconf(_SC_PAGESIZE)))
    {
        void *memory = mmap(nullptr, 3 * m_page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_begin = memory == MAP_FAILED ? nullptr : static_cast<char *>(memory);
        if (!m_begin || mprotect(m_begin + m_page, m_page, PROT_READ | PROT_WRITE) != 0)
            throw skipped("no memory for guarded pages");
    }

    /** `size` zeroed bytes that end where the closed page begins. */
    void *last(std::size_t size)
    {
        char *place = m_begin + 2 * m_page - size;
        std::memset(place, 0, size);
        return place;
    }

    bool guards(const void *address) const
    {
        const char *place = static_cast<const char *>(address);
        return place >= m_begin && place < m_begin + 3 * m_page;
    }

private:
    std::size_t m_page;
    char *m_begin = nullptr;
};

constexpr int GuardedThings = 5;
GuardedPage *guardedPages[GuardedThings] = {};
const char *const GuardedNames[GuardedThings] = {"the count", "the array's address", "the request", "the sensor mask",
                                                 "the event name mask"};

void tellTrespass(int number, siginfo_t *info, void *)
{
    for (int i = 0; i < GuardedThings; ++i) {
        if (guardedPages[i]->guards(info->si_addr)) {
            char text[128] = "the library went past ";
            std::strncat(text, GuardedNames[i], 60);
            settle(Verdict::Fail, text);
        }
    }
    std::signal(number, SIG_DFL);
}

void onTrespass(void (*tell)(int, siginfo_t *, void *))
{
    struct sigaction action = {};
    action.sa_sigaction = tell;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, nullptr);
    sigaction(SIGBUS, &action, nullptr);
}

void watchTrespasses()
{
    for (GuardedPage *&page : guardedPages)
        page = new GuardedPage;
    onTrespass(tellTrespass);
}

/** A copy of the request on a page's end, its masks likewise. It owns nothing and is never destroyed. */
template <class Kind> typename Kind::Request *guardedCopy(const typename Kind::Request &request)
{
    using Request = typename Kind::Request;
    void *place = guardedPages[2]->last(sizeof(Request));
    std::memcpy(place, static_cast<const void *>(&request), sizeof(Request));
    auto *copy = static_cast<Request *>(place);
    int page = 3;
    for (auto mask : Kind::masks()) {
        if (request.*mask) {
            const std::size_t size = std::strlen(request.*mask) + 1;
            copy->*mask = static_cast<char *>(guardedPages[page]->last(size));
            std::memcpy(copy->*mask, request.*mask, size);
        }
        ++page;
    }
    return copy;
}

template <class Kind> void fetchGuarded(const Library &library, const typename Kind::Request &request)
{
    stage("fetching the " + Kind::describe(request) + " into guarded memory");
    int *count = static_cast<int *>(guardedPages[0]->last(sizeof(int)));
    auto **array = static_cast<typename Kind::Record **>(guardedPages[1]->last(sizeof(void *)));
    Kind::get(library, count, array, guardedCopy<Kind>(request));
    Kind::get(library, nullptr, array, guardedCopy<Kind>(request));
}

Outcome checkOverrun(const Target &target)
{
    const Session session(target);
    watchTrespasses();
    if (session.library.has(DBFunctionGetSensors)) {
        stage("fetching the sensors into guarded memory");
        int *count = static_cast<int *>(guardedPages[0]->last(sizeof(int)));
        auto **array = static_cast<CSensor **>(guardedPages[1]->last(sizeof(void *)));
        session.library.getSensors(count, array);
        session.library.getSensors(nullptr, array);
    }
    forEachKind(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        fetchGuarded<Kind>(session.library, plain<Kind>(10, false));
        fetchGuarded<Kind>(session.library, plain<Kind>(10, true));
        fetchGuarded<Kind>(session.library, fullRequest<Kind>(session.library));
    });
    return passed();
}

void tellGuard(int number, siginfo_t *info, void *)
{
    if (Heap::isGuard(info->si_addr))
        settle(Verdict::Fail, "the library went past a block of its own, or used one that it had freed");
    std::signal(number, SIG_DFL);
}

Outcome checkMemory(const Target &target)
{
    const Session session(target);
    for (int i = 0; i < 3; ++i) {
        useAsConsole(session.library);
        forEachKind(session.library, [&](auto kind) {
            using Kind = decltype(kind);
            ask<Kind>(session.library, fullRequest<Kind>(session.library));
        });
        session.initialise(target.config);
    }
    // Once more with a closed page behind each block. No masks: what the library does to them is judged elsewhere.
    onTrespass(tellGuard);
    Heap::guard(true);
    useAsConsole(session.library);
    Heap::guard(false);
    const Heap::Faults faults = Heap::faults() - session.whileFilling;
    return faults.any() ? failed(faults.text()) : passed();
}
} // namespace

std::vector<Check> callChecks()
{
    Check releaseTwice = {"release-twice", "releasing the same pointer twice does no harm",
                          "Nothing now, as the console releases once; a program that does not will go down.",
                          checkReleaseTwice};
    releaseTwice.advisory = true;
    return {
        {"size-query", "the sizes of record and request are exact, at every call",
         "Every list window shows a box about an incorrect size and stays empty.", checkSizeQuery},
        {"initialise", "the three initialisers take the configuration directory",
         "The console starts, but the library was not ready: its windows may stay empty.", checkInitialise},
        {"initialise-twice", "initialising again changes nothing, as a restored desktop session does it",
         "After a restored desktop session the windows show something else or nothing.", checkInitialiseTwice},
        {"before-initialise", "calls before initialisation do no harm",
         "The console goes down when a window opens before the library is ready.", checkBeforeInitialise},
        {"missing-directory", "a configuration directory that is not there does no harm",
         "The console goes down on an installation whose files are missing, instead of showing empty windows.",
         checkMissingDirectory},
        {"status", "fetches that work return 0, empty answers too",
         "The window takes the answer for a failure and does not show it.", checkStatus},
        {"count", "the count equals the records in the array",
         "The console reads past the library's array: it goes down or shows rubbish.", checkCount},
        {"release-null", "releasing a NULL array does no harm: it follows every empty answer",
         "The console goes down when a list has nothing to show.", checkReleaseNull},
        {"release-once", "one release frees the array", "The console grows with every update of a list.",
         checkReleaseOnce},
        releaseTwice,
        {"release-order", "arrays are released in any order", "Two open windows may bring the console down.",
         checkReleaseOrder},
        {"valid-until-release", "an array stays as it is until its release, whatever is called meanwhile",
         "A list shows the records of another window.", checkValidity},
        {"request-unchanged", "the request and its masks are only read",
         "The window's next update asks for something else than its controls show.", checkRequestUnchanged},
        {"overrun", "the library stays within count, address, request and masks that it is handed",
         "The console's own memory is damaged: it goes down later, anywhere.", checkOverrun},
        {"memory", "nothing past a block is touched, no block used after its end or freed twice",
         "The console goes down later, anywhere.", checkMemory},
    };
}
