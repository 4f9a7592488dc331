// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file What the recorder passes on and writes down, and what the player makes of it. */
#include "bridgefixture.h"
#include "recordingformat.h"
#include "recordmaking.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using namespace BridgeFixture;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string checkerLibrary(const std::string &name)
{
    return std::string(CHECKER_LIBRARIES) + "/" + name + "/Libs/DBLib.a";
}

std::string contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** What a call writes to standard error. */
template <class Call> std::string told(Call call)
{
    const CapturedOutput err(stderr);
    call();
    return err.text();
}

/** A library with the recorder before it. */
class Recorded
{
public:
    explicit Recorded(const std::string &name = "good", const std::string &more = "")
        : installation(DBLIB_RECORDER, "Library=" + checkerLibrary(name) + "\nRecord=../session.rec\n" + more)
        , functions(installation.load())
    {
    }
    std::vector<int> initialise() const
    {
        return BridgeFixture::initialise(functions, installation.config());
    }
    std::string file() const
    {
        return installation.folder.file("session.rec");
    }

    Installation installation;
    DBFunctions functions;
};

/** A recording in place of a library. */
class Played
{
public:
    explicit Played(const std::string &recording)
        : installation(DBLIB_PLAYER, "Play=" + recording + "\n")
        , functions(installation.load())
    {
    }
    std::vector<int> initialise() const
    {
        return BridgeFixture::initialise(functions, installation.config());
    }

    Installation installation;
    DBFunctions functions;
};

/** Sensor and name of each event of a fetch. */
std::vector<std::string> texts(const DBFunctions &functions, int nMax)
{
    CMessageEventRequest request;
    request.NMax = nMax;
    CMessageEvent *events = nullptr;
    int n = 0;
    functions.getEvents(&n, &events, &request);
    std::vector<std::string> all;
    for (int i = 0; events && i < n; ++i)
        all.push_back(held(events[i].SensorID, events[i].LSensorID) + held(events[i].EventName, events[i].LEventName));
    functions.getEvents(nullptr, &events, &request);
    return all;
}

TEST(Recorder, EveryCallGoesThrough)
{
    const Recorded recorded;
    EXPECT_THAT(recorded.initialise(), ElementsAre(0, 0, 0));
    EXPECT_EQ(recorded.functions.getEvents(nullptr, nullptr, nullptr), EventSizes);
    EXPECT_EQ(recorded.functions.getCommands(nullptr, nullptr, nullptr), CommandSizes);
    EXPECT_EQ(recorded.functions.getSensors(nullptr, nullptr), SensorSize);
    CMessageEvent event = makeEvent();
    EXPECT_EQ(recorded.functions.putEvent(&event), 0);
    const FetchedEvents fetched = fetchEvents(recorded.functions, 1);
    EXPECT_EQ(fetched.result, 0);
    ASSERT_THAT(fetched.ids, SizeIs(1));
    EXPECT_EQ(recorded.functions.deleteEvent(fetched.ids[0]), 0);
    EXPECT_NE(fetchEvents(recorded.functions, 1).ids, fetched.ids);
}

TEST(Recorder, NothingIsToldOfALibraryThatDoesWell)
{
    const CapturedOutput out(stdout);
    EXPECT_EQ(told([] {
                  const Recorded recorded;
                  recorded.initialise();
                  fetchEvents(recorded.functions, 7);
              }),
              "");
    EXPECT_EQ(out.text(), "");
}

TEST(Recorder, ExceptionsAreToldAsWithoutIt)
{
    const Recorded recorded("throws");
    EXPECT_EQ(told([&] {
                  recorded.initialise();
                  EXPECT_EQ(fetchEvents(recorded.functions, -1).result, -1);
              }),
              "FDBGetEvents threw an exception: NMax is negative\n");
    const Played played(recorded.file());
    played.initialise();
    EXPECT_EQ(told([&] { EXPECT_EQ(fetchEvents(played.functions, -1).result, -1); }),
              "DBLib: FDBGetEvents: threw an exception when it was recorded\n");
}

TEST(Recorder, WithoutTextsTheirLengthsStay)
{
    std::vector<std::string> original;
    const Recorded recorded("good", "Texts=no\n");
    recorded.initialise();
    original = texts(recorded.functions, 5);
    const std::string bytes = contents(recorded.file());
    ASSERT_THAT(original, SizeIs(5));
    for (const std::string &text : original)
        EXPECT_THAT(bytes, Not(HasSubstr(text.substr(0, text.find('\0')))));
    EXPECT_THAT(bytes, Not(HasSubstr(recorded.installation.config())));

    const Played played(recorded.file());
    played.initialise();
    const std::vector<std::string> blank = texts(played.functions, 5);
    ASSERT_THAT(blank, SizeIs(5));
    for (std::size_t i = 0; i < blank.size(); ++i) {
        EXPECT_EQ(blank[i].size(), original[i].size());
        EXPECT_EQ(blank[i].find('\0'), original[i].find('\0'));
        EXPECT_EQ(blank[i].find_first_not_of(std::string("x\0", 2)), std::string::npos);
    }
}

TEST(Recorder, TheOldestPartsGo)
{
    const Recorded recorded("good", "Limit=1\n");
    recorded.initialise();
    for (int i = 0; i < 400; ++i)
        fetchEvents(recorded.functions, INT_MAX);
    const auto size = fs::file_size(recorded.file());
    const auto older = fs::file_size(Recording::olderHalf(recorded.file()));
    EXPECT_LE(size, 1U << 19);
    EXPECT_LE(older, 1U << 19);
    EXPECT_GT(older, 1U << 18);
    // The newer half alone can be played.
    fs::remove(Recording::olderHalf(recorded.file()));
    const Played played(recorded.file());
    EXPECT_THAT(played.initialise(), ElementsAre(0, 0, 0));
    EXPECT_EQ(fetchEvents(played.functions, INT_MAX).ids, fetchEvents(recorded.functions, INT_MAX).ids);
}

TEST(Recorder, AnAnswerBeyondTheLimitIsToldInItsPlace)
{
    const Recorded recorded("good", "Limit=1\n");
    recorded.initialise();
    CMessageEvent event = makeEvent();
    const std::string large(600000, 'n');
    setText(event.EventName, event.LEventName, large.c_str());
    ASSERT_EQ(recorded.functions.putEvent(&event), 0);
    EXPECT_EQ(fetchEvents(recorded.functions, 1).count, 1);
    const Played played(recorded.file());
    played.initialise();
    EXPECT_EQ(told([&] { EXPECT_EQ(fetchEvents(played.functions, 1).result, -1); }),
              "DBLib: FDBGetEvents: gave an answer that was too large for the recording\n");
}

TEST(Recorder, AFileThatIsNoRecordingStays)
{
    const Recorded recorded;
    std::ofstream(recorded.file()) << "a letter to the operator";
    EXPECT_EQ(told([&] { EXPECT_THAT(recorded.initialise(), ElementsAre(0, 0, 0)); }),
              "DBLib: nothing is recorded: " + recorded.installation.config() +
                  "/../session.rec is there and is no recording\n");
    EXPECT_EQ(fetchEvents(recorded.functions, 7).count, 7);
    EXPECT_EQ(contents(recorded.file()), "a letter to the operator");
}

TEST(Recorder, WithoutAPlaceForTheRecordingCallsGoThrough)
{
    const Recorded recorded;
    recorded.installation.define("Library=" + checkerLibrary("good") + "\nRecord=no/such/folder/x\n");
    EXPECT_THAT(told([&] { EXPECT_THAT(recorded.initialise(), ElementsAre(0, 0, 0)); }),
                AllOf(HasSubstr("nothing is recorded: "), EndsWith("no/such/folder/x: No such file or directory\n")));
    EXPECT_EQ(fetchEvents(recorded.functions, 7).count, 7);
}

TEST(Recorder, WhatIsSetWrongIsNamed)
{
    const Recorded recorded;
    const std::string config = recorded.installation.config();
    const auto init = [&] { EXPECT_EQ(recorded.functions.initEvents(config.c_str()), -1); };
    recorded.installation.define("Library=x\n");
    EXPECT_EQ(told(init), "DBLib: FInitDBEvents: " + config + "/DBLib.def does not say Record=\n");
    recorded.installation.define("Library=" DBLIB_RECORDER "\nRecord=y\n");
    EXPECT_EQ(told(init), "DBLib: FInitDBEvents: " DBLIB_RECORDER " is the recorder itself\n");
    recorded.installation.define("Library=x\nRecord=y\nTexts=some\n");
    EXPECT_EQ(told(init), "DBLib: FInitDBEvents: " + config + "/DBLib.def: Texts=some is not yes or no\n");
    EXPECT_EQ(told([&] { EXPECT_EQ(fetchEvents(recorded.functions, 7).result, -1); }),
              "DBLib: FDBGetEvents: the library was not initialised\n");
}

/** A console of its own that records until it is killed. */
void recordUntilKilled(const Installation &installation, unsigned microseconds)
{
    const std::string libs = installation.folder.file("Libs");
    const std::string config = installation.config();
    std::array<const char *, 5> arguments = {FETCHER, libs.c_str(), config.c_str(), "busy", nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    std::array<int, 2> ends = {};
    ASSERT_EQ(pipe(ends.data()), 0);
    posix_spawn_file_actions_adddup2(&files, ends[1], STDOUT_FILENO);
    pid_t console = -1;
    ASSERT_EQ(posix_spawn(&console, FETCHER, &files, nullptr, const_cast<char **>(arguments.data()), environ), 0);
    posix_spawn_file_actions_destroy(&files);
    close(ends[1]);
    char byte = 0;
    EXPECT_GT(read(ends[0], &byte, 1), 0); // it is initialised
    usleep(microseconds);                  // any moment of its work will do
    sendSignal(console, SIGKILL);
    waitpid(console, nullptr, 0);
    close(ends[0]);
}

TEST(Recorder, ARecordingIsWholeWhenItsConsoleWasKilled)
{
    const Recorded recorded("good", "Limit=1\n");
    for (unsigned i = 0; i < 20; ++i) {
        recordUntilKilled(recorded.installation, 100 + i * 397);
        const Played played(recorded.file());
        EXPECT_EQ(told([&] { EXPECT_THAT(played.initialise(), ElementsAre(0, 0, 0)); }), "");
    }
    // It goes on where it was cut off.
    recorded.initialise();
    const FetchedEvents last = fetchEvents(recorded.functions, 3);
    const std::string copy = recorded.installation.folder.file("copy.rec");
    fs::copy_file(recorded.file(), copy); // the player knows the other name's contents already
    const Played played(copy);
    played.initialise();
    EXPECT_EQ(fetchEvents(played.functions, 3).ids, last.ids);
}

TEST(Player, AnswersComeInTheirOrderAndTheLastOneAgain)
{
    const Recorded recorded;
    recorded.initialise();
    std::vector<std::vector<int>> answers;
    for (int i = 0; i < 3; ++i) {
        answers.push_back(fetchEvents(recorded.functions, 2).ids);
        CMessageEvent event = makeEvent();
        recorded.functions.putEvent(&event);
    }
    const Played played(recorded.file());
    EXPECT_THAT(played.initialise(), ElementsAre(0, 0, 0));
    for (const std::vector<int> &ids : answers)
        EXPECT_EQ(fetchEvents(played.functions, 2).ids, ids);
    EXPECT_EQ(fetchEvents(played.functions, 2).ids, answers.back());
    EXPECT_NE(answers[0], answers[1]);
}

TEST(Player, ARequestThatWasNeverMadeFails)
{
    const Recorded recorded;
    recorded.initialise();
    fetchEvents(recorded.functions, 7);
    const Played played(recorded.file());
    played.initialise();
    FetchedEvents fetched;
    EXPECT_EQ(told([&] { fetched = fetchEvents(played.functions, 8); }),
              "DBLib: FDBGetEvents: " + recorded.file() +
                  " has no answer to FDBGetEvents with NMax=8, "
                  "TakeFirst1_Last0=0\n");
    EXPECT_EQ(fetched.result, -1);
    EXPECT_EQ(fetched.count, 0);
    EXPECT_EQ(fetchEvents(played.functions, 7).count, 7);
}

TEST(Player, WhatARequestDoesNotUseDoesNotMatter)
{
    const Recorded recorded;
    recorded.initialise();
    CMessageEventRequest request;
    request.NMax = 4;
    CMessageEvent *events = nullptr;
    int n = 0;
    recorded.functions.getEvents(&n, &events, &request);
    recorded.functions.getEvents(nullptr, &events, &request);
    const Played played(recorded.file());
    played.initialise();
    request.EventTime0 = 1234;
    request.MessageID1 = 99;
    EXPECT_EQ(played.functions.getEvents(&n, &events, &request), 0);
    EXPECT_EQ(n, 4);
    played.functions.getEvents(nullptr, &events, &request);
}

TEST(Player, WhatIsPutAndDeletedIsAnsweredAsItWas)
{
    const Recorded recorded;
    recorded.initialise();
    CMessageEvent event = makeEvent();
    ASSERT_EQ(recorded.functions.putEvent(&event), 0);
    ASSERT_EQ(recorded.functions.deleteEvent(event.MessageID), 0);
    const Played played(recorded.file());
    played.initialise();
    CMessageEvent again = makeEvent();
    again.EventTime += 100; // it is made later
    EXPECT_EQ(played.functions.putEvent(&again), 0);
    EXPECT_EQ(again.MessageID, event.MessageID);
    EXPECT_EQ(played.functions.deleteEvent(event.MessageID), 0);
    EXPECT_THAT(told([&] { EXPECT_EQ(played.functions.deleteEvent(-5), -1); }),
                EndsWith("has no answer to FDBDeleteEvent with identifier=-5\n"));
}

/** A file in place of a recording; what initialising the player tells. */
std::string toldOf(const std::string &bytes)
{
    const Folder folder;
    const std::string path = folder.file("x.rec");
    std::ofstream(path, std::ios::binary) << bytes;
    const Played played(path);
    std::string text = told([&] { EXPECT_EQ(played.functions.initEvents(played.installation.config().c_str()), -1); });
    return text.erase(text.find(path), path.size());
}

TEST(Player, WhatIsNoRecordingIsNamed)
{
    EXPECT_EQ(toldOf(""), "DBLib: FInitDBEvents:  is no recording\n");
    EXPECT_EQ(toldOf(std::string(500, 'x')), "DBLib: FInitDBEvents:  is no recording\n");
}

TEST(Player, ACorruptRecordingIsToldWithThePlace)
{
    const Recorded recorded;
    recorded.initialise();
    std::string bytes = contents(recorded.file());
    std::string corrupt = bytes;
    corrupt[sizeof(Recording::FileHead)] = 'x';
    EXPECT_EQ(toldOf(corrupt), "DBLib: FInitDBEvents:  is corrupt: byte 16: no call begins so\n");
    corrupt = bytes;
    corrupt[sizeof(Recording::FileHead) + sizeof(Recording::EntryHead)] = 'x';
    EXPECT_EQ(toldOf(corrupt), "DBLib: FInitDBEvents:  is corrupt: byte 48: byte 0: no message begins so\n");
    corrupt = bytes;
    corrupt[8] = 9;
    EXPECT_EQ(toldOf(corrupt), "DBLib: FInitDBEvents: : version 9, this program reads 1\n");
}

TEST(Player, EveryEndThatWasCutOffIsLeftOut)
{
    const Recorded recorded;
    recorded.initialise();
    fetchEvents(recorded.functions, 1);
    const std::string bytes = contents(recorded.file());
    const Folder folder;
    for (std::size_t size = sizeof(Recording::FileHead); size < bytes.size(); ++size) {
        const std::string path = folder.file(std::to_string(size));
        std::ofstream(path, std::ios::binary) << bytes.substr(0, size);
        const Played played(path);
        const std::string text = told([&] { played.initialise(); });
        EXPECT_THAT(text, Not(HasSubstr("corrupt")));
    }
}

TEST(Player, SizesOfAnotherWordWidthAreRightWhenTheyWereRightThere)
{
    const Recorded recorded;
    recorded.initialise();
    recorded.functions.getEvents(nullptr, nullptr, nullptr);
    std::string bytes = contents(recorded.file());
    const int other = sizeof(void *) == 4 ? 72 | 104 << 16 : 40 | 80 << 16;
    const int own = EventSizes;
    bytes[10] = sizeof(void *) == 4 ? 64 : 32;
    const std::string ownBytes(reinterpret_cast<const char *>(&own), 4);
    bytes.replace(bytes.rfind(ownBytes), 4, std::string(reinterpret_cast<const char *>(&other), 4));
    const std::string path = recorded.installation.folder.file("other.rec");
    std::ofstream(path, std::ios::binary) << bytes;
    const Played played(path);
    played.initialise();
    EXPECT_EQ(played.functions.getEvents(nullptr, nullptr, nullptr), EventSizes);
}

TEST(Player, BeforeItIsInitialisedNothingIsAnswered)
{
    const Played played("/nowhere");
    EXPECT_EQ(told([&] { EXPECT_EQ(played.functions.deleteEvent(1), -1); }),
              "DBLib: FDBDeleteEvent: the library was not initialised\n");
    EXPECT_EQ(told([&] { EXPECT_EQ(played.functions.initEvents(played.installation.config().c_str()), -1); }),
              "DBLib: FInitDBEvents: /nowhere cannot be read: No such file or directory\n");
}
} // namespace
