// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Files that were made to do harm: hostile/NAME.sql each turns a sound database
 * into one, before it is opened or while it is open, and says with which
 * message it is to be refused. What is no definition but content is built here.
 */
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <functional>
#include <sqlite3.h>
#include <sstream>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

/** Another program, which does not care what the library thinks of it. */
void runElsewhere(const std::string &path, const std::string &sql)
{
    sqlite3 *db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    sqlite3_busy_timeout(db, 10000);
    char *message = nullptr;
    sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
    EXPECT_EQ(message, nullptr) << message;
    sqlite3_free(message);
    sqlite3_close(db);
}

/** The reason why `action` throws; empty when it does not. */
std::string refusal(const std::function<void()> &action)
{
    try {
        action();
        return "";
    } catch (const Sqlite::Error &error) {
        return error.what();
    }
}

std::vector<int> ids(SqliteStore &store, int count = 100)
{
    const auto events = store.events(eventsWanted(count, true));
    std::vector<int> result;
    for (int i = 0; i < events->size(); ++i)
        result.push_back((*events)[i].MessageID);
    return result;
}

class Hostile : public ::testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        std::ifstream file(std::string(HOSTILE_FILES) + "/" + GetParam() + ".sql");
        ASSERT_TRUE(file.good());
        std::ostringstream text;
        text << file.rdbuf();
        m_sql = text.str();
        const std::string mark = "-- expect: ";
        const std::size_t start = m_sql.find(mark) + mark.size();
        m_message = m_path + ": " + m_sql.substr(start, m_sql.find('\n', start) - start);
        fill();
    }
    void fill() const
    {
        SqliteStore store(m_path, Sqlite::Durability::Crash);
        for (int i = 0; i < 3; ++i) {
            store.put(makeEvent("sensor", "event", 1000 + i));
            store.put(makeCommand("sensor", CommandStop, 1000));
        }
    }
    void expectRefusals(SqliteStore &store) const
    {
        EXPECT_THAT(refusal([&] { store.events(eventsWanted(10)); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.commands(commandsWanted(10)); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.sensors(10); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.put(makeEvent("sensor", "event", 1)); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.put(makeCommand("sensor", CommandStop, 1)); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.deleteEvent(1); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.deleteCommand(1); }), HasSubstr(m_message));
        EXPECT_THAT(refusal([&] { store.keepAlive({"sensor"}, 5); }), HasSubstr(m_message));
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("x.db");
    std::string m_sql;
    std::string m_message;
};

TEST_P(Hostile, IsRefusedWhenItIsOpened)
{
    runElsewhere(m_path, m_sql);
    EXPECT_THAT(refusal([&] { const SqliteStore store(m_path, Sqlite::Durability::Crash); }), HasSubstr(m_message));
}

TEST_P(Hostile, IsRefusedWhileItIsOpen)
{
    SqliteStore store(m_path, Sqlite::Durability::Crash);
    EXPECT_THAT(ids(store), ElementsAre(1, 2, 3));
    store.commands(commandsWanted(10));
    runElsewhere(m_path, "VACUUM INTO '" + m_folder.file("sound.db") + "'");
    runElsewhere(m_path, m_sql);
    expectRefusals(store);
    // A sound state is restored, and all goes on.
    sqlite3 *sound = nullptr;
    sqlite3 *target = nullptr;
    ASSERT_EQ(sqlite3_open(m_folder.file("sound.db").c_str(), &sound), SQLITE_OK);
    ASSERT_EQ(sqlite3_open(m_path.c_str(), &target), SQLITE_OK);
    sqlite3_backup *restore = sqlite3_backup_init(target, "main", sound, "main");
    EXPECT_EQ(sqlite3_backup_step(restore, -1), SQLITE_DONE);
    EXPECT_EQ(sqlite3_backup_finish(restore), SQLITE_OK);
    sqlite3_close(sound);
    sqlite3_close(target);
    EXPECT_THAT(ids(store), ElementsAre(1, 2, 3)) << "nothing was stored or deleted";
    EXPECT_EQ(store.put(makeEvent("sensor", "event", 1)), 4);
    EXPECT_EQ(store.commands(commandsWanted(10))->size(), 3);
}

std::vector<std::string> hostileFiles()
{
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(HOSTILE_FILES))
        names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

INSTANTIATE_TEST_SUITE_P(, Hostile, ::testing::ValuesIn(hostileFiles()), [](const auto &tested) {
    std::string name = tested.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

class HostileContent : public ::testing::Test
{
protected:
    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("x.db");
    std::unique_ptr<SqliteStore> m_store = std::make_unique<SqliteStore>(m_path, Sqlite::Durability::Crash);
};

TEST_F(HostileContent, AnIdentifierBeyondTheBoundaryHidesNothingButItself)
{
    for (int i = 0; i < 3; ++i) {
        m_store->put(makeEvent("sensor", "event", 1000 + i));
        m_store->put(makeCommand("sensor", CommandStop, 1000 + i));
    }
    runElsewhere(m_path, "INSERT INTO event(id, series, time) VALUES(2147483648, 1, 1001), (-9000000000, 1, 1001);"
                         "INSERT INTO command(id, series, time) VALUES(9223372036854775807, 1, 1001)");
    for (const int most : {1, 3, 100, 1000, 1001, 1000000, INT_MAX}) {
        for (const bool first : {false, true}) {
            auto events = eventsWanted(most, first);
            EXPECT_EQ(m_store->events(events)->size(), std::min(most, 3)) << most;
            EXPECT_EQ(m_store->commands(commandsWanted(most, first))->size(), std::min(most, 3)) << most;
            events.UseEventTime0 = 1;
            events.EventTime0 = 1001;
            EXPECT_EQ(m_store->events(events)->size(), std::min(most, 2)) << most;
            events.UseSensorID = 1;
            setText(events.SensorID, events.LSensorID, "sensor");
            EXPECT_EQ(m_store->events(events)->size(), std::min(most, 2)) << most;
        }
    }
    EXPECT_TRUE(m_store->deleteEvent(2));
    EXPECT_EQ(m_store->sensors(10)->size(), 1);
    // Whose number would not fit into a record is not stored.
    EXPECT_THAT(refusal([&] { m_store->put(makeEvent("sensor", "event", 1)); }), HasSubstr("identifiers are used up"));
}

TEST_F(HostileContent, ARowTooLongToBeReadHidesNothingButItself)
{
    for (int i = 0; i < 600; ++i)
        m_store->put(makeEvent("sensor" + std::to_string(i % 4), "event", 1000));
    const std::string tooLong = "hex(zeroblob(33 << 20))";
    runElsewhere(m_path, "UPDATE event SET params = " + tooLong + " WHERE id IN (1, 300, 600)");
    EXPECT_EQ(ids(*m_store, 1000).size(), 597U);
    EXPECT_EQ(m_store->events(eventsWanted(1000))->size(), 597);
    EXPECT_EQ(m_store->events(eventsWanted(300))->size(), 300);
    EXPECT_THAT(ids(*m_store, 2), ElementsAre(2, 3));
    // Found by each road: the merge of few series, and of many behind the look at the end.
    for (const char *sensor : {"sensor0", "sensor3"}) {
        CMessageEventRequest request = eventsWanted(1000);
        request.UseSensorID = 1;
        setText(request.SensorID, request.LSensorID, sensor);
        EXPECT_EQ(m_store->events(request)->size(), sensor == std::string("sensor0") ? 149 : 148) << sensor;
    }
    CMessageEventRequest request = eventsWanted(1000);
    request.UseMessageType = 1;
    request.MessageType = 1;
    EXPECT_EQ(m_store->events(request)->size(), 597);
    CMessageEvent event = makeEvent("sensor", "event", 1);
    addText(event, "text", std::string(65 << 20, 'x'));
    EXPECT_THAT(refusal([&] { m_store->put(event); }), HasSubstr(m_path + ": a record is longer than 64 MB"));
    EXPECT_TRUE(m_store->deleteEvent(300)) << "and it can be deleted";
}

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::uint64_t numberAt(const std::string &bytes, std::size_t at, int size)
{
    std::uint64_t number = 0;
    for (int i = 0; i < size; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[at + std::size_t(i)]);
    return number;
}

void setNumber(std::string &bytes, std::size_t at, std::uint32_t number)
{
    for (int i = 3; i >= 0; --i, number >>= 8)
        bytes[at + std::size_t(i)] = char(number & 0xff);
}

/** Where a cell's payload begins, behind two numbers of 7 bits a byte; the first of them is its size. */
std::size_t payloadAt(const std::string &bytes, std::size_t cell, std::uint64_t &size)
{
    std::uint64_t read[2] = {0, 0};
    for (std::uint64_t &number : read) {
        bool more = true;
        while (more) {
            const auto byte = static_cast<unsigned char>(bytes[cell++]);
            number = number << 7 | (byte & 0x7f);
            more = (byte & 0x80) != 0;
        }
    }
    size = read[0];
    return cell;
}

/** Lets all rows of a leaf share the first one's overflow pages, and drops those of the others from the file. */
void shareOverflow(std::string &bytes, std::size_t leaf, std::size_t pageSize)
{
    const std::uint64_t usable = pageSize;
    const std::uint64_t least = (usable - 12) * 32 / 255 - 23;
    const std::uint64_t rows = numberAt(bytes, leaf + 3, 2);
    std::uint32_t shared = 0;
    for (std::uint64_t row = 0; row < rows; ++row) {
        std::uint64_t size = 0;
        const std::size_t cell = leaf + numberAt(bytes, leaf + 8 + 2 * row, 2);
        const std::size_t payload = payloadAt(bytes, cell, size);
        const std::uint64_t part = least + (size - least) % (usable - 4);
        const std::size_t pointer = payload + (part <= usable - 35 ? part : least);
        if (row == 0)
            shared = std::uint32_t(numberAt(bytes, pointer, 4));
        setNumber(bytes, pointer, shared);
        const std::uint32_t pages = shared + std::uint32_t(size / (usable - 4)) + 2;
        bytes.resize(pages * pageSize);
        setNumber(bytes, 28, pages);
    }
}

TEST_F(HostileContent, RowsThatShareOneTextTakeNoMoreMemoryThanTheFileIsLong)
{
    constexpr int rows = 6;
    // So long that hardly more than the least part of it stands in the leaf: all rows fit into one.
    constexpr std::size_t length = 489 + 256 * 4092 + 10;
    for (int i = 0; i < rows; ++i) {
        CMessageEvent event = makeEvent("sensor", "event", 1000);
        addText(event, "text", std::string(length, char('a' + i)));
        m_store->put(event);
    }
    Sqlite::Connection &db = m_store->connection();
    const auto pageSize = std::size_t(db.number("PRAGMA page_size"));
    const auto root = std::size_t(db.number("SELECT rootpage FROM sqlite_schema WHERE name = 'event'"));
    EXPECT_EQ(m_store->events(eventsWanted(rows))->size(), rows);
    m_store.reset();
    std::string bytes = contentOf(m_path);
    shareOverflow(bytes, (root - 1) * pageSize, pageSize);
    ASSERT_LT(bytes.size(), 2U << 20);
    std::ofstream(m_path, std::ios::binary) << bytes;
    m_store = std::make_unique<SqliteStore>(m_path, Sqlite::Durability::Crash);
    EXPECT_THAT(refusal([&] { m_store->events(eventsWanted(rows)); }),
                HasSubstr("the database is corrupt: there is more text in it than room"));
    EXPECT_EQ(m_store->events(eventsWanted(1))->size(), 1);
}

TEST(StatementLimit, AStatementThatFindsNoEndIsEnded)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("x.db");
    Sqlite::Connection db(path, Sqlite::Durability::Crash, 100);
    db.run("CREATE TABLE t(x)");
    db.limitSteps(std::chrono::milliseconds(50));
    const std::string endless = "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) ";
    const std::string message = path + ": a request to the file took too long and was ended";
    EXPECT_EQ(refusal([&] { db.number((endless + "SELECT x FROM n WHERE x < 0").c_str()); }), message);
    EXPECT_EQ(refusal([&] { db.run((endless + "INSERT INTO t SELECT x FROM n").c_str()); }), message);
    EXPECT_EQ(db.number("SELECT count(*) FROM t"), 0);
    // Rows that keep coming are no such thing, however many they are.
    const auto start = std::chrono::steady_clock::now();
    Sqlite::Statement rows(db, endless + "SELECT x FROM n");
    std::int64_t steps = 0;
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(200) && rows.step())
        ++steps;
    EXPECT_EQ(rows.number(0), steps);
}
} // namespace
