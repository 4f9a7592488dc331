// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The store on arbitrary database files. An input is a database file, and
// behind it, from the mark of such a file on, its write-ahead log.
#include "FuzzTarget.h"

#include "MemoryFiles.h"
#include "Messages.h"
#include "Store.h"

#include <new>
#include <string_view>

namespace
{
constexpr char DatabaseName[] = "damaged.db";
constexpr char LogName[] = "damaged.db-wal";
constexpr int Most = 300;

/** Where the log begins: "7 DEL ACK" and STX or ETX. */
std::size_t startOfLog(std::string_view content)
{
    return std::min({content.find("\x37\x7f\x06\x82"), content.find("\x37\x7f\x06\x83"), content.size()});
}

void setFiles(std::string_view content)
{
    const std::size_t log = startOfLog(content);
    auto &files = memoryFiles();
    files.clear();
    files[DatabaseName].bytes = content.substr(0, log);
    if (log < content.size()) {
        files[LogName].bytes = content.substr(log);
    }
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
    const bool rising = found.size() > 1 && idOf(found[0]) < idOf(found[1]);
    for (int i = 1; i < found.size(); ++i) {
        const bool advances = rising ? idOf(found[i - 1]) < idOf(found[i]) : idOf(found[i - 1]) > idOf(found[i]);
        require(advances, "the identifiers advance");
    }
}

/** Asks for either end: all, by name, by time, by time and name, in a range of identifiers. */
template <class Request, class Ask, class UseIds, class UseTimes>
void askForAll(Ask ask, UseIds useIds, UseTimes useTimes)
{
    for (int variant = 0; variant < 10; ++variant) {
        Request request;
        request.NMax = variant < 2 ? 2000 : Most;
        request.TakeFirst1_Last0 = variant % 2;
        if (variant / 2 == 1 || variant / 2 == 3) {
            request.UseSensorID = 1;
            setText(request.SensorID, request.LSensorID, "sensor1");
        }
        if (variant / 2 >= 2) {
            useTimes(request);
        }
        if (variant / 2 == 4) {
            useIds(request);
            request.UseMessageType = 1;
            request.MessageType = 1;
        }
        answers([&] { checkAnswer(*ask(request), request); });
    }
}

void askForEvents(Store &store)
{
    askForAll<CMessageEventRequest>([&](const CMessageEventRequest &request) { return store.events(request); },
                                    [](CMessageEventRequest &request) {
                                        request.UseMessageID0 = request.UseMessageID1 = 1;
                                        request.MessageID0 = 3;
                                        request.MessageID1 = 400;
                                    },
                                    [](CMessageEventRequest &request) {
                                        request.UseEventTime0 = request.UseEventTime1 = 1;
                                        request.EventTime0 = 1010;
                                        request.EventTime1 = 1200;
                                    });
}

void askForCommands(Store &store)
{
    askForAll<CMessageCommandRequest>([&](const CMessageCommandRequest &request) { return store.commands(request); },
                                      [](CMessageCommandRequest &request) {
                                          request.UseCommandID0 = request.UseCommandID1 = 1;
                                          request.CommandID0 = 3;
                                          request.CommandID1 = 400;
                                      },
                                      [](CMessageCommandRequest &request) {
                                          request.UseCommandTime0 = request.UseCommandTime1 = 1;
                                          request.CommandTime0 = 1010;
                                          request.CommandTime1 = 1200;
                                      });
}

void askForSensors(Store &store)
{
    answers([&] {
        const auto sensors = store.sensors(10);
        for (int i = 0; i < sensors->size(); ++i) {
            checkText((*sensors)[i].SensorID, (*sensors)[i].LSensorID);
            checkText((*sensors)[i].Description, (*sensors)[i].LDescription);
        }
    });
}

void change(Store &store)
{
    CMessageEvent event;
    event.MessageType = 1;
    event.EventTime = 1100;
    setText(event.SensorID, event.LSensorID, "sensor1");
    setText(event.EventName, event.LEventName, "an event");
    answers([&] { store.put(event); });
    CMessageCommand command;
    command.MessageType = 1;
    command.CommandTime = 1100;
    setText(command.SensorID, command.LSensorID, "sensor1");
    answers([&] { store.put(command); });
    answers([&] { store.deleteEvent(5); });
    answers([&] { store.deleteCommand(5); });
    answers([&] { store.registerSensor("sensor2", 1, "a sensor"); });
    answers([&] { store.keepAlive("sensor1", 1100); });
    answers([&] { store.setLastCommand("sensor1", 5); });
    NewMessage message;
    message.series = {1, 1, "sensor3", "events"};
    answers([&] { store.putEvents({40, message}); });
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const bool inMemory = (useMemoryFiles(), true);
    require(inMemory, "the files are in memory");
    setFiles({reinterpret_cast<const char *>(data), size});
    answers([] {
        Store store(DatabaseName, Sqlite::Durability::Crash, 0);
        askForSensors(store);
        askForEvents(store);
        askForCommands(store);
        change(store);
        askForEvents(store);
    });
    return 0;
}
