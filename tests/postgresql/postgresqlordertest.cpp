// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Many programs write while a console asks for what is above the highest
 * identifier that it has seen: it meets each event once. OBRIM_ORDER_SECONDS
 * is for how long (5).
 */
#include "servertesting.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr int Writers = 8;
constexpr auto Tick = std::chrono::milliseconds(50);
constexpr int DefaultSeconds = 5;

std::chrono::seconds duration()
{
    const char *given = std::getenv("OBRIM_ORDER_SECONDS");
    return std::chrono::seconds(given ? std::atoi(given) : DefaultSeconds);
}

class OrderTest : public ServerTest
{
protected:
    void SetUp() override
    {
        ServerTest::SetUp();
        m_reader = openStore();
        for (int i = 0; i < Writers; ++i)
            m_writers.push_back(startWriter(i));
    }
    void TearDown() override
    {
        for (const pid_t writer : m_writers)
            ::kill(writer, SIGKILL);
        endWriters();
    }
    void endWriters()
    {
        std::ofstream(m_folder.file("end")) << "\n";
        for (const pid_t writer : m_writers)
            ::waitpid(writer, nullptr, 0);
        m_writers.clear();
    }
    /** What is new to the reader. */
    void look()
    {
        CMessageEventRequest request = eventsWanted(1000000);
        request.UseMessageID0 = 1;
        request.MessageID0 = m_seen.empty() ? 1 : m_seen.back() + 1;
        const auto events = m_reader->events(request);
        for (int i = 0; i < events->size(); ++i)
            m_seen.push_back((*events)[i].MessageID);
    }
    void lookOrFail()
    {
        try {
            look();
        } catch (const StoreError &) {
            ++m_failures; // while the server restarts
        }
    }
    /** What the writers were told to be stored, in ascending order. */
    std::vector<int> confirmed() const
    {
        std::vector<int> all;
        for (int i = 0; i < Writers; ++i) {
            std::ifstream file(logOf(i));
            for (int id = 0; file >> id;)
                all.push_back(id);
        }
        std::sort(all.begin(), all.end());
        return all;
    }

    std::unique_ptr<PostgresStore> m_reader;
    std::vector<int> m_seen;
    int m_failures = 0;

private:
    std::string logOf(int writer) const
    {
        return m_folder.file("writer" + std::to_string(writer));
    }
    pid_t startWriter(int number)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            write(number);
            ::_exit(0);
        }
        return child;
    }
    /** Single events and several at once, also in transactions, of which some are undone. */
    void write(int number) const
    {
        PostgresStore opened(settings(connection()));
        std::ofstream log(logOf(number));
        for (int round = 0; !std::filesystem::exists(m_folder.file("end")); ++round) {
            NewMessage event;
            const std::string sensor = "sensor" + std::to_string(number);
            event.series = {1, 1, sensor, "event"};
            event.time = round;
            if (round % 10 == 0)
                undo(opened, event);
            const std::vector<NewMessage> events(round % 7 == 0 ? 3 : 1, event);
            // Until it is confirmed: it is stored once for all that.
            for (int first = 0; first == 0;) {
                try {
                    first = opened.putEvents(events);
                    for (std::size_t i = 0; i < events.size(); ++i)
                        log << first + int(i) << "\n";
                } catch (const StoreError &) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
            }
        }
    }
    static void undo(Store &store, const NewMessage &event)
    {
        try {
            const Store::Batch batch(store);
            store.putEvent(event);
        } catch (const StoreError &) {
            // Nothing is the better for it.
        }
    }

    TemporaryFolder m_folder;
    std::vector<pid_t> m_writers;
};

TEST_F(OrderTest, AReaderMeetsEachEventOnceWhileManyWrite)
{
    const auto end = Clock::now() + duration();
    while (Clock::now() < end) {
        look();
        std::this_thread::sleep_for(Tick);
    }
    endWriters();
    look();
    const std::vector<int> written = confirmed();
    std::printf("%zu events in %d s\n", written.size(), int(duration().count()));
    EXPECT_GT(written.size(), 100U);
    EXPECT_EQ(m_seen, written);
}

TEST_F(OrderTest, SoItDoesOverDeletesAndRestarts)
{
    const auto half = Clock::now() + duration() / 2;
    const auto end = half + duration() / 2;
    bool restarted = false;
    while (Clock::now() < end) {
        lookOrFail();
        if (m_failures == 0 && !m_seen.empty())
            m_reader->deleteEvent(m_seen.back());
        if (Clock::now() > half && !restarted) {
            server().stop();
            lookOrFail();
            server().start();
            restarted = true;
        }
        std::this_thread::sleep_for(Tick);
    }
    endWriters();
    look();
    EXPECT_EQ(m_failures > 0, restarted);
    EXPECT_EQ(m_seen, confirmed());
}
} // namespace
