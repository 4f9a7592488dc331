// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file Hosts that break the agreement: nothing that they send is believed, and nothing of it stays. */
#include "bridgefixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <unistd.h>

namespace
{
using namespace BridgeFixture;
using testing::IsEmpty;
using testing::StartsWith;

/** An installation with the fake host, which breaks the agreement in one way. */
class Misled
{
public:
    explicit Misled(const std::string &way)
        : library("/nowhere/" + way)
        , installation(DBLIB_BRIDGE, "Library=" + library + "\nHost=" FAKE_HOST "\nTimeout=1\n")
        , functions(installation.load())
    {
    }

    std::string library;
    Installation installation;
    DBFunctions functions;
};

struct Way {
    const char *name;
    const char *reason; ///< the beginning of what is told
};

std::string nameOf(const testing::TestParamInfo<Way> &instance)
{
    std::string name = instance.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class BadAnswer : public testing::TestWithParam<Way>
{
};

TEST_P(BadAnswer, EndsTheHost)
{
    const Misled misled(GetParam().name);
    EXPECT_EQ(initialise(misled.functions, misled.installation.config()), std::vector<int>({0, 0, 0}));
    FetchedEvents fetched;
    std::string told;
    const std::size_t before = openDescriptors();
    {
        const CapturedOutput err(stderr);
        fetched = fetchEvents(misled.functions, 10);
        told = err.text();
    }
    EXPECT_EQ(fetched.result, -1);
    EXPECT_EQ(fetched.count, 0);
    EXPECT_THAT(told, StartsWith("DBLib: " + misled.library + " " + GetParam().reason));
    EXPECT_THAT(childrenOf(getpid()), IsEmpty());
    EXPECT_EQ(openDescriptors(), before - 2); // the channel and the process
    EXPECT_FALSE(hasMemoryOfHosts());
}

INSTANTIATE_TEST_SUITE_P(
    Bridge, BadAnswer,
    testing::Values(
        Way{"flood", "answered rubbish (byte 0: the answer to another call) in FDBGetEvents"},
        Way{"rubbish", "answered rubbish (byte 0: no message begins so) in FDBGetEvents"},
        Way{"empty-packet", "answered rubbish (byte 0: 8 bytes are needed for a packet's head, 1 are left)"},
        Way{"other-answer", "answered rubbish (byte 0: the answer to another function)"},
        Way{"other-call", "answered rubbish (byte 0: the answer to another call)"},
        Way{"cut", "answered rubbish (byte 16: "}, Way{"lies", "answered rubbish (byte 40: "},
        Way{"size-of-another", "answered rubbish (byte 4: a message of "},
        Way{"unsealed", "answered rubbish (byte 0: the memory with the message is not sealed)"},
        Way{"short-memory", "answered rubbish (byte 0: the memory with the message has "},
        Way{"rubbish-memory", "answered rubbish (byte 0: no message begins so)"},
        Way{"no-memory", "answered rubbish (byte 0: the memory with the message is not sealed)"},
        Way{"many-descriptors", "answered rubbish (byte "},
        Way{"descriptor-and-message", "answered rubbish (byte 4: a packet with too much beside its message)"},
        Way{"huge-packet", "answered rubbish (byte 65544: a packet is too large)"},
        Way{"closes", "closed its connection in FDBGetEvents"},
        Way{"never", "was killed after 1 s without an answer in FDBGetEvents"}),
    nameOf);

class BadGreeting : public testing::TestWithParam<Way>
{
};

TEST_P(BadGreeting, EndsTheHost)
{
    const Misled misled(GetParam().name);
    const std::size_t before = openDescriptors();
    std::string told;
    {
        const CapturedOutput err(stderr);
        EXPECT_EQ(misled.functions.initEvents(misled.installation.config().c_str()), -1);
        told = err.text();
    }
    EXPECT_THAT(told, StartsWith("DBLib: " + misled.library + " " + GetParam().reason));
    EXPECT_THAT(childrenOf(getpid()), IsEmpty());
    EXPECT_EQ(openDescriptors(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Bridge, BadGreeting,
    testing::Values(Way{"no-greeting", "ended with exit status 5 while it was loaded"},
                    Way{"silent", "was killed after 1 s without an answer while it was loaded"},
                    Way{"rubbish-greeting", "greets with what is no greeting (byte 0: 16 bytes are needed"},
                    Way{"answer-for-greeting", "greets with what is no greeting (byte 6: is no greeting)"},
                    Way{"wrong-version", "greets with what is no greeting (byte 4: version 9, this program reads 1)"},
                    Way{"unasked", "answered rubbish (byte 0: the answer to another call) in FInitDBEvents"}),
    nameOf);

TEST(Bridge, AHostThatIsNotThereIsNamed)
{
    const Installation installation(DBLIB_BRIDGE, "Library=/nowhere/x\nHost=no/such/host\n");
    const DBFunctions functions = installation.load();
    const CapturedOutput err(stderr);
    EXPECT_EQ(functions.initEvents(installation.config().c_str()), -1);
    EXPECT_EQ(err.text(),
              "DBLib: " + installation.config() + "/no/such/host cannot be started: No such file or directory\n");
}
} // namespace
