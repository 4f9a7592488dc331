// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The store on arbitrary database files. An input is a database file, and
// behind it, from the mark of such a file on, its write-ahead log. What is
// asked stands in the file itself (see FreeByte): a question and a change take
// a tenth of the time that all take, and opening a store takes longer still.
#include "fuzztarget.h"

#include "Messages.h"
#include "corruptdatabase.h"
#include "memoryfiles.h"
#include "sqlitestore.h"

#include <memory>
#include <new>
#include <sqlite3.h>
#include <string_view>

namespace
{
constexpr char DatabaseName[] = "corrupt.db";
constexpr char KeptName[] = "replaced.db";
constexpr int Most = 300;
constexpr int Variants = 10;
constexpr int Questions = 2 * Variants + 1;
constexpr int Changes = 8;

/** An input in its parts. */
struct Files {
    std::string_view database;
    std::string_view log;
};

/** The log begins with "7 DEL ACK" and STX or ETX. */
Files filesOf(std::string_view content)
{
    const std::size_t log =
        std::min({content.find("\x37\x7f\x06\x82"), content.find("\x37\x7f\x06\x83"), content.size()});
    return {content.substr(0, log), content.substr(log)};
}

/** Whatever the store is asked: it answers, or says why it cannot. */
template <class Action> bool answers(Action action)
{
    try {
        action();
        return true;
    } catch (const Sqlite::Error &error) {
        require(std::string_view(error.what()).size() > sizeof(DatabaseName), "an error has a reason");
    } catch (const std::bad_alloc &) {
    }
    return false;
}

void setText(char *&field, int &length, std::string_view text)
{
    CopyPtr(&field, &length, std::string(text).c_str(), int(text.size()) + 1);
}

void checkText(const char *text, int length)
{
    require(!text || (length > 0 && text[length - 1] == '\0'), "a text is terminated");
    require(text || length == 0, "a missing text has no length");
}

void checkTexts(const CMessageEvent &event)
{
    checkText(event.SensorID, event.LSensorID);
    checkText(event.EventName, event.LEventName);
}

void checkTexts(const CMessageCommand &command)
{
    checkText(command.SensorID, command.LSensorID);
}

int idOf(const CMessageEvent &event)
{
    return event.MessageID;
}

int idOf(const CMessageCommand &command)
{
    return command.CommandID;
}

template <class Record, class Request> void checkAnswer(const Records<Record> &found, const Request &request)
{
    require(found.size() <= std::max(request.NMax, 0), "no more records than wanted");
    for (int i = 0; i < found.size(); ++i) {
        checkTexts(found[i]);
        // As the console does: its copies read every byte that the record claims.
        const Record copy(found[i]);
        require(copy.ParNum == found[i].ParNum, "a copy has the parameters");
    }
    const bool ascending = found.size() > 1 && idOf(found[0]) < idOf(found[1]);
    for (int i = 1; i < found.size(); ++i) {
        const bool advances = ascending ? idOf(found[i - 1]) < idOf(found[i]) : idOf(found[i - 1]) > idOf(found[i]);
        require(advances, "the identifiers advance");
    }
}

/** Asks for either end: all, by name, by time, by time and name, in a range of identifiers. */
template <class Request, class UseIds, class UseTimes> Request requestOf(int variant, UseIds useIds, UseTimes useTimes)
{
    Request request;
    request.NMax = variant < 2 ? 2000 : Most;
    request.TakeFirst1_Last0 = variant % 2;
    if (variant / 2 == 1 || variant / 2 == 3) {
        request.UseSensorID = 1;
        setText(request.SensorID, request.LSensorID, "sensor1");
    }
    if (variant / 2 >= 2)
        useTimes(request);
    if (variant / 2 == 4) {
        useIds(request);
        request.UseMessageType = 1;
        request.MessageType = 1;
    }
    return request;
}

void askForEvents(SqliteStore &store, int variant)
{
    const auto request = requestOf<CMessageEventRequest>(
        variant,
        [](CMessageEventRequest &wanted) {
            wanted.UseMessageID0 = wanted.UseMessageID1 = 1;
            wanted.MessageID0 = 3;
            wanted.MessageID1 = 400;
        },
        [](CMessageEventRequest &wanted) {
            wanted.UseEventTime0 = wanted.UseEventTime1 = 1;
            wanted.EventTime0 = 1010;
            wanted.EventTime1 = 1200;
        });
    answers([&] { checkAnswer(*store.events(request), request); });
}

void askForCommands(SqliteStore &store, int variant)
{
    const auto request = requestOf<CMessageCommandRequest>(
        variant,
        [](CMessageCommandRequest &wanted) {
            wanted.UseCommandID0 = wanted.UseCommandID1 = 1;
            wanted.CommandID0 = 3;
            wanted.CommandID1 = 400;
        },
        [](CMessageCommandRequest &wanted) {
            wanted.UseCommandTime0 = wanted.UseCommandTime1 = 1;
            wanted.CommandTime0 = 1010;
            wanted.CommandTime1 = 1200;
        });
    answers([&] { checkAnswer(*store.commands(request), request); });
}

void askForSensors(SqliteStore &store)
{
    answers([&] {
        const auto sensors = store.sensors(10);
        for (int i = 0; i < sensors->size(); ++i) {
            checkText((*sensors)[i].SensorID, (*sensors)[i].LSensorID);
            checkText((*sensors)[i].Description, (*sensors)[i].LDescription);
        }
    });
}

void ask(SqliteStore &store, int question)
{
    if (question < Variants)
        askForEvents(store, question);
    else if (question < 2 * Variants)
        askForCommands(store, question - Variants);
    else
        askForSensors(store);
}

void putEvent(SqliteStore &store)
{
    CMessageEvent event;
    event.MessageType = 1;
    event.EventTime = 1100;
    setText(event.SensorID, event.LSensorID, "sensor1");
    setText(event.EventName, event.LEventName, "an event");
    store.put(event);
}

void putCommand(SqliteStore &store)
{
    CMessageCommand command;
    command.MessageType = 1;
    command.CommandTime = 1100;
    setText(command.SensorID, command.LSensorID, "sensor1");
    store.put(command);
}

void putEvents(SqliteStore &store)
{
    NewMessage message;
    message.series = {1, 1, "sensor3", "events"};
    store.putEvents({40, message});
}

void change(SqliteStore &store, int which)
{
    answers([&] {
        switch (which) {
        case 0:
            return putEvent(store);
        case 1:
            return putCommand(store);
        case 2:
            store.deleteEvent(5);
            return;
        case 3:
            store.deleteCommand(5);
            return;
        case 4:
            return store.registerSensor("sensor2", 1, "a sensor");
        case 5:
            return store.keepAlive({"sensor1"}, 1100);
        case 6:
            store.readCommands({"sensor1"}, 5);
            return;
        default:
            return putEvents(store);
        }
    });
}

void askEverything(SqliteStore &store)
{
    for (int question = 0; question < Questions; ++question)
        ask(store, question);
    for (int which = 0; which < Changes; ++which)
        change(store, which);
    for (int question = 0; question < Variants; ++question)
        ask(store, question);
}

/** `chosen` begins at QuestionByte. */
void askWhatIsChosen(SqliteStore &store, std::string_view chosen)
{
    const auto choice = [&](FreeByte byte) { return int(static_cast<unsigned char>(chosen[byte - QuestionByte])); };
    const int question = (choice(QuestionByte) - 1) % Questions;
    ask(store, question);
    if (choice(ChangeByte) > 0) {
        change(store, (choice(ChangeByte) - 1) % Changes);
        ask(store, question);
    }
}

/** A store that stays open while its file becomes another one, as another program's corruption would do. */
class KeptStore
{
public:
    /** The store with these files; none when opening one is the only way. */
    SqliteStore *with(const Files &files)
    {
        if (!EmptyDatabase::get().hasSameDefinitions(files.database))
            return nullptr;
        if (!m_store || !sqlite3_get_autocommit(m_store->connection().handle()))
            open();
        replaceDatabase(KeptName, files.database, files.log);
        // What is undone makes the store forget the series that it knows; everything else SQLite finds out.
        return answers([&] { const Store::Batch undone(*m_store); }) ? m_store.get() : nullptr;
    }

private:
    void open()
    {
        m_store.reset();
        memoryFiles().erase(KeptName);
        memoryFiles()[KeptName].bytes = EmptyDatabase::get().bytes();
        m_store = std::make_unique<SqliteStore>(KeptName, Sqlite::Durability::Crash, 0);
        // Both tables are made ready, so that what follows does not depend on what was asked before.
        ask(*m_store, 0);
        ask(*m_store, Variants);
    }

    std::unique_ptr<SqliteStore> m_store;
};

template <class Ask> void askOpened(const Files &files, Ask askStore)
{
    for (const char *end : {"", "-wal", "-shm", "-journal"})
        memoryFiles().erase(DatabaseName + std::string(end));
    memoryFiles()[DatabaseName].bytes = files.database;
    if (!files.log.empty())
        memoryFiles()[std::string(DatabaseName) + "-wal"].bytes = files.log;
    answers([&] {
        SqliteStore store(DatabaseName, Sqlite::Durability::Crash, 0);
        askStore(store);
    });
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const bool inMemory = (useMemoryFiles(), memoryFiles(), true);
    require(inMemory, "the files are in memory");
    static KeptStore kept;
    const Files files = filesOf({reinterpret_cast<const char *>(data), size});
    if (files.database.size() <= OpenByte || files.database[QuestionByte] == '\0') {
        askOpened(files, askEverything);
        return 0;
    }
    const auto askChosen = [chosen = files.database.substr(QuestionByte)](SqliteStore &store) {
        askWhatIsChosen(store, chosen);
    };
    const bool mayBeOpen = files.database[OpenByte] % 2 == 0;
    if (SqliteStore *store = mayBeOpen ? kept.with(files) : nullptr)
        askChosen(*store);
    else
        askOpened(files, askChosen);
    return 0;
}
