// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file A library behind the bridge, good or broken: what comes back, and what is told. */
#include "bridgefixture.h"
#include "recordmaking.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using namespace BridgeFixture;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr int Gone = -1; // the result of a call that failed

std::string faulty(const std::string &fault)
{
    return std::string(CHECKER_LIBRARIES) + "/" + fault + "/Libs/DBLib.a";
}

/** The console's side of a library behind the bridge. */
class Bridged
{
public:
    explicit Bridged(const std::string &path, const std::string &more = "Timeout=1\n")
        : library(path)
        , installation(DBLIB_BRIDGE, "Library=" + path + "\n" + more)
        , functions(installation.load())
    {
    }
    std::vector<int> initialise() const
    {
        return BridgeFixture::initialise(functions, installation.config());
    }
    FetchedEvents fetch(int nMax = 10) const
    {
        return fetchEvents(functions, nMax);
    }
    static int host()
    {
        return hostOf(getpid());
    }

    static void endHost(int signal)
    {
        const int keeper = *childrenOf(getpid()).begin();
        sendSignal(host(), signal);
        siginfo_t ended = {};
        waitid(P_PID, id_t(keeper), &ended, WEXITED | WNOWAIT);
    }

    std::string library;
    Installation installation;
    DBFunctions functions;
};

/** What a call writes to standard error. */
template <class Call> std::string told(Call call)
{
    const CapturedOutput err(stderr);
    call();
    return err.text();
}

double secondsOf(const std::function<void()> &work)
{
    const auto start = steady_clock::now();
    work();
    return std::chrono::duration<double>(steady_clock::now() - start).count();
}

TEST(Bridge, ALibraryBehindItAnswersAsItself)
{
    const Bridged bridged(faulty("good"));
    EXPECT_THAT(bridged.initialise(), ElementsAre(0, 0, 0));
    EXPECT_EQ(bridged.functions.getEvents(nullptr, nullptr, nullptr), EventSizes);
    EXPECT_EQ(bridged.functions.getCommands(nullptr, nullptr, nullptr), CommandSizes);
    EXPECT_EQ(bridged.functions.getSensors(nullptr, nullptr), SensorSize);
    CMessageEvent event = makeEvent();
    EXPECT_EQ(bridged.functions.putEvent(&event), 0);
    const FetchedEvents fetched = bridged.fetch(1);
    EXPECT_EQ(fetched.result, 0);
    ASSERT_THAT(fetched.ids, SizeIs(1));
    EXPECT_EQ(bridged.functions.deleteEvent(fetched.ids[0]), 0);
    EXPECT_NE(bridged.fetch(1).ids, fetched.ids);
}

TEST(Bridge, NothingIsToldOfALibraryThatDoesWell)
{
    const CapturedOutput out(stdout);
    EXPECT_EQ(told([] {
                  const Bridged bridged(faulty("good"));
                  bridged.initialise();
                  bridged.fetch();
              }),
              "");
    EXPECT_EQ(out.text(), "");
}

// What a library does to its process.

struct Fault {
    const char *name;
    int nMax; ///< of the request that sets it off
    const char *reason;
};

class BrokenLibrary : public testing::TestWithParam<Fault>
{
};

TEST_P(BrokenLibrary, EndsItsHostAndTheNextCallGetsAnother)
{
    const Bridged bridged(faulty(GetParam().name), "Timeout=1\nMemory=256\n");
    EXPECT_EQ(told([&] { bridged.initialise(); }), "");
    const int host = Bridged::host();
    FetchedEvents fetched;
    double seconds = 0;
    const std::string err = told([&] { seconds = secondsOf([&] { fetched = bridged.fetch(GetParam().nMax); }); });
    EXPECT_EQ(fetched.result, Gone);
    EXPECT_EQ(fetched.count, 0);
    EXPECT_EQ(err, "DBLib: " + bridged.library + " " + GetParam().reason + "\n");
    EXPECT_LT(seconds, 60); // far more than its limit, on a machine with other work
    EXPECT_THAT(childrenOf(getpid()), IsEmpty());

    fetched = bridged.fetch(7);
    EXPECT_EQ(fetched.result, 0);
    EXPECT_THAT(fetched.ids, SizeIs(7));
    EXPECT_NE(Bridged::host(), host);
}

std::vector<Fault> faults()
{
    std::vector<Fault> all = {{"segfault", INT_MAX, "was killed by SIGSEGV in FDBGetEvents"},
                              {"abort", INT_MAX, "was killed by SIGABRT in FDBGetEvents"},
                              {"exit", 0, "ended with exit status 0 in FDBGetEvents"},
                              {"quick-exit", 0, "ended with exit status 0 in FDBGetEvents"},
                              {"endless-loop", INT_MIN, "was killed after 1 s without an answer in FDBGetEvents"},
                              {"ignores-sigterm", INT_MIN, "was killed after 1 s without an answer in FDBGetEvents"},
                              {"stack-overflow", INT_MAX, "was killed by SIGSEGV in FDBGetEvents"}};
#ifndef __SANITIZE_ADDRESS__ // whose hosts have no limit
    all.push_back({"eats-memory", INT_MAX, "was killed by SIGSEGV in FDBGetEvents"});
#endif
    return all;
}

INSTANTIATE_TEST_SUITE_P(Bridge, BrokenLibrary, testing::ValuesIn(faults()), [](const auto &instance) {
    std::string name = instance.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(Bridge, ALibraryThatClosesDescriptorsLosesItsHost)
{
    const Bridged bridged(faulty("close-descriptors"));
    bridged.initialise();
    const std::string err = told([&] { EXPECT_EQ(bridged.fetch().result, Gone); });
    EXPECT_THAT(err, EndsWith("DBLib: " + bridged.library + " closed its connection in FDBGetEvents\n"));
}

TEST(Bridge, ExceptionsAreToldAndTheHostGoesOn)
{
    const Bridged bridged(faulty("throws"));
    const std::string err = told([&] {
        bridged.initialise(); // the host gets standard error as it is now
        const int host = Bridged::host();
        EXPECT_EQ(bridged.fetch(-1).result, Gone);
        EXPECT_EQ(bridged.fetch(7).result, 0);
        EXPECT_EQ(Bridged::host(), host);
    });
    EXPECT_EQ(err, "FDBGetEvents threw an exception: NMax is negative\n");
}

TEST(Bridge, AHostThatIsStoppedIsKilledInTime)
{
    const Bridged bridged(faulty("good"));
    bridged.initialise();
    sendSignal(Bridged::host(), SIGSTOP);
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.fetch().result, Gone); }),
              "DBLib: " + bridged.library + " was killed after 1 s without an answer in FDBGetEvents\n");
    EXPECT_EQ(bridged.fetch().result, 0);
}

TEST(Bridge, AKeeperThatIsKilledTakesItsHostWithIt)
{
    const Subreaper subreaper;
    const Bridged bridged(faulty("good"));
    bridged.initialise();
    const int host = Bridged::host();
    sendSignal(*childrenOf(getpid()).begin(), SIGKILL);
    EXPECT_TRUE(endsInTime(host));
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.fetch().result, 0); }),
              "DBLib: " + bridged.library + " was killed by SIGKILL between two calls\n");
}

TEST(Bridge, AKeeperThatIsStoppedStandsInNobodysWay)
{
    const Bridged bridged(faulty("stops-checker"));
    EXPECT_EQ(told([&] {
                  bridged.initialise();
                  EXPECT_EQ(bridged.fetch(7).result, 0);
                  EXPECT_EQ(bridged.fetch(7).result, 0);
                  bridged.installation.define("Library=" + faulty("good") + "\n");
                  bridged.initialise();
              }),
              "");
    EXPECT_THAT(childrenOf(getpid()), SizeIs(1));
}

class DaemonLibrary : public testing::TestWithParam<const char *>
{
};

TEST_P(DaemonLibrary, LeavesNothingBehind)
{
    const Subreaper subreaper;
    const Bridged bridged(faulty(GetParam()));
    bridged.initialise();
    const int keeper = *childrenOf(getpid()).begin();
    bridged.fetch(INT_MAX);
    EXPECT_GT(childrenOf(keeper).size() + childrenOf(*childrenOf(keeper).begin()).size(), 1U);
    bridged.installation.define("Library=" + faulty("good") + "\n");
    bridged.initialise();
    EXPECT_THAT(childrenOf(getpid()), SizeIs(1));
    EXPECT_NE(*childrenOf(getpid()).begin(), keeper);
}

INSTANTIATE_TEST_SUITE_P(Bridge, DaemonLibrary, testing::Values("fork", "fork-daemon", "zombie"),
                         [](const auto &instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(Bridge, AHostThatIsKilledBetweenCallsIsReplaced)
{
    const Bridged bridged(faulty("good"));
    bridged.initialise();
    Bridged::endHost(SIGKILL);
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.fetch().result, 0); }),
              "DBLib: " + bridged.library + " was killed by SIGKILL between two calls\n");
}

TEST(Bridge, AHostIsToldOfWithTheSignalThatEndedIt)
{
    const Bridged bridged(faulty("good"));
    bridged.initialise();
    // The keeper has its own use for the first and none for the second.
    for (const auto &[signal, name] : {std::pair(SIGTERM, "SIGTERM"), std::pair(SIGUSR1, "SIGUSR1")}) {
        Bridged::endHost(signal);
        EXPECT_EQ(told([&] { EXPECT_EQ(bridged.fetch().result, 0); }),
                  "DBLib: " + bridged.library + " was killed by " + name + " between two calls\n");
    }
}

TEST(Bridge, ANewHostIsInitialisedBeforeAnythingElse)
{
    const Bridged bridged(faulty("crash-uninitialised"));
    bridged.initialise();
    Bridged::endHost(SIGKILL);
    EXPECT_THAT(told([&] { EXPECT_EQ(bridged.fetch().result, 0); }), Not(HasSubstr("SIGSEGV")));
}

TEST(Bridge, WhetherAPutWasCarriedOutIsSaidNotToBeKnown)
{
    const Bridged bridged(faulty("put-crashes"));
    bridged.initialise();
    CMessageEvent event = makeEvent();
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.functions.putEvent(&event), Gone); }),
              "DBLib: " + bridged.library +
                  " was killed by SIGSEGV in FDBPutEvent; it is not known whether the event was stored\n");
}

TEST(Bridge, ACrashWhileALibraryIsLoadedIsToldAndSoIsThePause)
{
    const Bridged bridged(faulty("crash-at-load"));
    const std::string told1 =
        told([&] { EXPECT_EQ(bridged.functions.initSensors(bridged.installation.config().c_str()), Gone); });
    EXPECT_EQ(told1, "DBLib: " + bridged.library + " was killed by SIGSEGV while it was loaded\n");
    // The same is not told twice.
    EXPECT_EQ(told([&] { bridged.fetch(); }), "");
}

TEST(Bridge, ThePauseBeforeAnotherHostGrows)
{
    const Bridged bridged(faulty("crash-at-load"));
    const auto start = [&] { bridged.functions.initSensors(bridged.installation.config().c_str()); };
    const CapturedOutput err(stderr);
    start();
    for (const double pause : {0.1, 0.2, 0.4, 0.8})
        EXPECT_GE(secondsOf(start), pause);
    // A longer one is not waited for.
    start();
    EXPECT_THAT(err.text(), HasSubstr("is not started again yet: it was killed by SIGSEGV"));
}

TEST(Bridge, AFileThatIsNoLibraryIsToldInTheLoadersWords)
{
    const Folder folder;
    std::ofstream(folder.file("x.a")) << "!<arch>\nnothing";
    const Bridged bridged(folder.file("x.a"));
    const CapturedOutput out(stdout);
    const std::string err = told([&] { EXPECT_THAT(bridged.initialise(), ElementsAre(Gone, Gone, Gone)); });
    EXPECT_THAT(err, HasSubstr("is a static archive, not a shared library"));
    EXPECT_THAT(err, HasSubstr("x.a cannot be loaded by "));
    EXPECT_THAT(out.text(), StartsWith("Can't open library " + folder.file("x.a") + "\n"));
}

TEST(Bridge, WithoutALibraryNothingIsCalled)
{
    const Bridged bridged(faulty("good"));
    bridged.installation.define("");
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.functions.initEvents(bridged.installation.config().c_str()), Gone); }),
              "DBLib: FInitDBEvents: " + bridged.installation.config() + "/DBLib.def does not say Library=\n");
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.fetch().result, Gone); }),
              "DBLib: FDBGetEvents: the library was not initialised\n");
    EXPECT_THAT(childrenOf(getpid()), IsEmpty());
}

TEST(Bridge, ItIsNotItsOwnLibrary)
{
    const Bridged bridged(DBLIB_BRIDGE);
    EXPECT_EQ(told([&] { EXPECT_EQ(bridged.functions.initEvents(bridged.installation.config().c_str()), Gone); }),
              "DBLib: FInitDBEvents: Library=" DBLIB_BRIDGE " is the bridge itself\n");
}

TEST(Bridge, AnotherLibraryEndsTheHostOfTheOneBefore)
{
    const Bridged bridged(faulty("good"));
    bridged.initialise();
    const int host = Bridged::host();
    bridged.initialise();
    EXPECT_EQ(Bridged::host(), host);
    bridged.installation.define("Library=" + faulty("segfault") + "\n");
    bridged.initialise();
    EXPECT_NE(Bridged::host(), host);
    EXPECT_EQ(bridged.fetch().result, 0);
}

TEST(Bridge, AForkedProcessGetsAHostOfItsOwn)
{
    const Bridged bridged(faulty("good"));
    bridged.initialise();
    const int host = Bridged::host();
    const pid_t child = fork();
    if (child == 0) {
        const bool works = bridged.fetch(7).ids.size() == 7 && Bridged::host() != host;
        _exit(works ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Bridged::host(), host);
    EXPECT_THAT(bridged.fetch(7).ids, SizeIs(7));
}
} // namespace
