// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The library and a server that does not play along: each fault gets a message
 * that names the server and the reason and a result other than 0, within a
 * bounded time, and the console goes on when the fault is gone.
 */
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "data.h"
#include "loadedlibrary.h"
#include "postgresschema.h"
#include "servertesting.h"
#include "silentserver.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace
{
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Clock = std::chrono::steady_clock;

class FaultTest : public ServerTest
{
protected:
    void SetUp() override
    {
        ServerTest::SetUp();
        for (const char *folder : {"Config", "Libs"})
            std::filesystem::create_directories(m_folder.file(folder));
        std::filesystem::copy_file(DBLIB_POSTGRESQL, m_folder.file("Libs/DBLib.a"));
        ConfigWD = QString::fromLocal8Bit(m_folder.file("Config").c_str());
        ASSERT_EQ(LoadDLL(QString::fromLocal8Bit(m_folder.file("Libs").c_str())), 0);
    }
    void TearDown() override
    {
        // Or the library would hold its connection as long as the program runs.
        define("");
        const CapturedOutput errors(stderr);
        InitDBEvents(ConfigWD);
    }
    /** Writes DBLib.def. */
    void define(const std::string &connection, const std::string &more = {}) const
    {
        const std::string file = m_folder.file("Config/DBLib.def");
        std::ofstream(file) << "Connection=" << connection << "\n" << more;
        ::chmod(file.c_str(), 0600);
    }
    int initialise() const
    {
        return InitDBEvents(ConfigWD);
    }
    static std::string named(const std::string &host, const std::string &database)
    {
        return host + " database " + database;
    }
    std::string named() const
    {
        return named(server().host(), m_database);
    }

    /** Expects that each of the ten functions fails for `reason` of the server `name`. Returns what was told. */
    std::string expectRefusal(const std::string &name, const std::string &reason) const
    {
        const CapturedOutput errors(stderr);
        EXPECT_NE(InitDBSensors(ConfigWD), 0);
        EXPECT_NE(initialise(), 0);
        EXPECT_NE(InitDBCommands(ConfigWD), 0);
        int n = 0;
        CSensor *sensors = nullptr;
        EXPECT_NE(DBGetSensors(&n, &sensors, nullptr), 0);
        EXPECT_EQ(countEvents(), -1);
        CMessageCommandRequest request = commandsWanted(10);
        CMessageCommand *commands = nullptr;
        EXPECT_NE(DBGetCommands(&n, &commands, &request, nullptr), 0);
        EXPECT_NE(putAnEvent(), 0);
        CMessageCommand command = makeCommand("sensor", CommandKill, 0);
        EXPECT_NE(DBPutCommand(command), 0);
        EXPECT_NE(FDBDeleteEvent(1), 0);
        EXPECT_NE(FDBDeleteCommand(1), 0);
        const std::string where = ": " + name + ": " + reason;
        for (const char *failed : {"open the database", "read sensors", "read events", "read commands",
                                   "store an event", "store a command", "delete an event", "delete a command"})
            EXPECT_THAT(errors.text(), HasSubstr(std::string("cannot ").append(failed).append(where)));
        return errors.text();
    }

    TemporaryFolder m_folder;
};

TEST_F(FaultTest, NoServer)
{
    define("host=" + m_folder.path() + " dbname=plant");
    expectRefusal(named(m_folder.path(), "plant"), "connection to server on socket \"" + m_folder.path());
}

TEST_F(FaultTest, WordsThatAreNoneOfLibpqs)
{
    define("host=nowhere colour=blue");
    expectRefusal("local server", "Connection= is none of libpq's: invalid connection option \"colour\"");
}

TEST_F(FaultTest, WrongPassword)
{
    server().sql("CREATE ROLE secretive LOGIN PASSWORD 'right'");
    server().setAccess("local all secretive scram-sha-256\nlocal all all trust\nlocal replication all trust\n");
    define(connection("secretive", "password=wrong"));
    EXPECT_THAT(expectRefusal(named(), "connection to server on socket"),
                AllOf(HasSubstr("password authentication failed for user \"secretive\""), Not(HasSubstr("wrong"))));
    server().sql("GRANT CREATE ON DATABASE " + m_database + " TO secretive");
    define(connection("secretive", "password=right"));
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(putAnEvent(), 0);
}

TEST_F(FaultTest, APasswordThatOthersCanReadIsWarnedOfAndWorks)
{
    define(connection("owner", "password=topsecret"));
    const std::string file = m_folder.file("Config/DBLib.def");
    ::chmod(file.c_str(), 0644);
    const CapturedOutput errors(stderr);
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_THAT(errors.text(), AllOf(HasSubstr(file + ": others can read this file"), Not(HasSubstr("topsecret"))));
}

TEST_F(FaultTest, APasswordThatOthersCannotReadIsNotSpokenOf)
{
    define(connection("owner", "password=topsecret"));
    const CapturedOutput errors(stderr);
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(FaultTest, NoRights)
{
    openStore();
    server().sql("CREATE ROLE stranger LOGIN");
    define(connection("stranger"));
    expectRefusal(named(), "permission denied for schema obrim");
    server().sql("ALTER ROLE stranger SUPERUSER");
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(putAnEvent(), 0);
}

TEST_F(FaultTest, NoRightToMakeTheTables)
{
    server().sql("CREATE ROLE newcomer LOGIN");
    define(connection("newcomer"));
    expectRefusal(named(), "the tables cannot be made: permission denied for database " + m_database);
}

TEST_F(FaultTest, NoDatabase)
{
    define("host=" + server().host() + " user=owner dbname=nothing");
    expectRefusal(named(server().host(), "nothing"), "connection to server on socket");
}

TEST_F(FaultTest, AnotherEncoding)
{
    server().sql("CREATE DATABASE ascii TEMPLATE template0 ENCODING 'SQL_ASCII'");
    define(server().connection("ascii"));
    expectRefusal(named(server().host(), "ascii"), "the database has the encoding SQL_ASCII, it has to be UTF8");
}

TEST_F(FaultTest, AnotherProgramsSchema)
{
    value("CREATE SCHEMA obrim");
    define(connection());
    expectRefusal(named(), "the schema obrim is another program's");
}

TEST_F(FaultTest, ANewerVersion)
{
    openStore();
    value("UPDATE obrim.installation SET version = 99");
    define(connection());
    expectRefusal(named(), "the database has version 99, this program knows versions up to 1");
    EXPECT_EQ(value("SELECT version FROM obrim.installation"), "99");
}

TEST_F(FaultTest, AServerThatOnlyAnswersQuestions)
{
    define(connection());
    ASSERT_EQ(initialise(), 0);
    ASSERT_EQ(putAnEvent(), 0);
    server().sql("ALTER DATABASE " + m_database + " SET default_transaction_read_only = on");
    define(connection("owner", "application_name=again"));
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(countEvents(), 1);
    const CapturedOutput errors(stderr);
    EXPECT_NE(putAnEvent(), 0);
    EXPECT_THAT(errors.text(), HasSubstr(named() + ": cannot execute "));
}

TEST_F(FaultTest, ASessionThatWasEndedIsReplacedUnnoticed)
{
    define(connection());
    ASSERT_EQ(initialise(), 0);
    const CapturedOutput errors(stderr);
    for (int i = 1; i <= 3; ++i) {
        server().sql("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE datname = '" + m_database +
                     "'");
        ASSERT_EQ(i == 2 ? countEvents() : putAnEvent(), i == 2 ? 1 : 0);
    }
    EXPECT_EQ(countEvents(), 2);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(FaultTest, AServerThatRestarts)
{
    define(connection());
    ASSERT_EQ(initialise(), 0);
    ASSERT_EQ(putAnEvent(), 0);
    server().stop();
    expectRefusal(named(), "connection to server on socket");
    server().start();
    EXPECT_TRUE(eventually([] { return countEvents() == 1; }));
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_EQ(countEvents(), 2);
}

TEST_F(FaultTest, AServerThatCrashes)
{
    define(connection());
    ASSERT_EQ(initialise(), 0);
    ASSERT_EQ(putAnEvent(), 0);
    server().kill();
    const CapturedOutput errors(stderr);
    EXPECT_NE(putAnEvent(), 0);
    server().start();
    EXPECT_TRUE(eventually([] { return putAnEvent() == 0; }));
    EXPECT_EQ(countEvents(), 2);
}

TEST_F(FaultTest, AServerThatIsStoppedInTheMiddle)
{
    define(connection(), "ConnectTimeout=2\nStatementTimeout=2\n");
    ASSERT_EQ(initialise(), 0);
    ASSERT_EQ(putAnEvent(), 0);
    server().signal(SIGSTOP);
    {
        const CapturedOutput errors(stderr);
        EXPECT_EQ(countEvents(), -1);
        EXPECT_THAT(errors.text(), HasSubstr(named() + ": no answer within 2 s"));
        EXPECT_EQ(countEvents(), -1);
        EXPECT_THAT(errors.text(), HasSubstr(named() + ": no connection within 2 s"));
        // From here on no call waits. Together they would take 100 seconds if each did.
        const auto start = Clock::now();
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(countEvents(), -1);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
    }
    server().signal(SIGCONT);
    EXPECT_TRUE(eventually([] { return countEvents() == 1; }));
    EXPECT_EQ(putAnEvent(), 0);
}

TEST_F(FaultTest, AMachineThatIsSilent)
{
    const SilentServer silent;
    define("host=" + silent.folder() + " dbname=plant", "ConnectTimeout=2\n");
    const auto start = Clock::now();
    expectRefusal(named(silent.folder(), "plant"), "no connection within 2 s");
    // Ten functions, of which the first waits; each initialisation begins anew.
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(15));
}

TEST_F(FaultTest, TheFirstOfSeveralHostsMayBeAway)
{
    define("host=" + m_folder.path() + "," + server().host() + " user=owner dbname=" + m_database +
           " target_session_attrs=read-write");
    ASSERT_EQ(initialise(), 0);
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_EQ(countEvents(), 1);
}

TEST_F(FaultTest, AStatementThatWaitsForAnotherProgramHasAnEnd)
{
    define(connection(), "StatementTimeout=1\n");
    ASSERT_EQ(initialise(), 0);
    const auto other = openStore();
    {
        const Store::Batch batch(*other);
        other->put(makeEvent("a", "e", 0));
        const CapturedOutput errors(stderr);
        EXPECT_NE(putAnEvent(), 0);
        EXPECT_THAT(errors.text(), HasSubstr(named() + ": canceling statement due to statement timeout"));
    }
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_EQ(countEvents(), 1);
}

/** A folder on a file system of its own, whose room is small. */
bool mountSmall(const std::string &folder, const std::string &options)
{
    return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", folder.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

TEST_F(FaultTest, DiskFull)
{
    const TemporaryFolder disk;
    std::filesystem::permissions(disk.path(), std::filesystem::perms(0755));
    if (!mountSmall(disk.path(), "size=16m,mode=0700,uid=" + std::to_string(TestServer::userId())))
        GTEST_SKIP() << "this machine does not allow it";
    TestServer full;
    full.start();
    full.sql("CREATE TABLESPACE small LOCATION '" + disk.path() + "'");
    full.sql("CREATE DATABASE plant TABLESPACE small");
    define(full.connection("plant"));
    ASSERT_EQ(initialise(), 0);
    ASSERT_EQ(putAnEvent(), 0);
    const std::string ballast = disk.file("ballast");
    std::ofstream(ballast) << std::string(16 << 20, 'x');
    int stored = 1;
    {
        const CapturedOutput errors(stderr);
        while (putAnEvent() == 0)
            ++stored;
        EXPECT_THAT(errors.text(), AllOf(HasSubstr("cannot store an event: " + named(full.host(), "plant")),
                                         HasSubstr("No space left on device")));
        EXPECT_EQ(countEvents(), stored);
    }
    std::filesystem::remove(ballast);
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_EQ(countEvents(), stored + 1);
}

TEST_F(FaultTest, AMigrationThatFailsChangesNothing)
{
    openStore();
    const std::vector<std::string> steps = {"-- version 1", "CREATE TABLE obrim.addition(id integer)",
                                            "INSERT INTO obrim.nothing VALUES (1)"};
    auto store = openStore();
    EXPECT_THROW(Postgres::prepareSchema(store->connection(), "server", steps), StoreError);
    EXPECT_EQ(value("SELECT version FROM obrim.installation"), "1");
    EXPECT_EQ(value("SELECT to_regclass('obrim.addition') IS NULL"), "t");
    Postgres::prepareSchema(store->connection(), "server", {steps[0], steps[1]});
    EXPECT_EQ(value("SELECT version FROM obrim.installation"), "2");
    EXPECT_EQ(value("SELECT to_regclass('obrim.addition') IS NULL"), "f");
}

TEST_F(FaultTest, ProgramsThatMakeTheTablesAtOnceAllSucceed)
{
    std::vector<std::thread> programs;
    std::atomic<int> opened{0};
    for (int i = 0; i < 8; ++i) {
        programs.emplace_back([&] {
            openStore();
            ++opened;
        });
    }
    for (std::thread &program : programs)
        program.join();
    EXPECT_EQ(opened, 8);
}
} // namespace
