// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The three readers of the test data source on arbitrary files.
#include "fuzztarget.h"

#include "../records/recordtext.h"
#include "DBFunsDebug.h"
#include "Messages.h"

#include <QString>

namespace
{
// The file that stands for all three, in memory.
const std::uint8_t *content;
std::size_t contentSize;
int opened; ///< since the input came
} // namespace

/** Takes the place of openRegularFile, as the linker is told. Without bytes there is no file. */
extern "C" std::FILE *__wrap__Z15openRegularFilePKc(const char *)
{
    ++opened;
    return openInMemory(content, contentSize);
}

namespace
{
void checkText(const char *text, int length)
{
    require(text && length > 0 && text[length - 1] == '\0', "a stored text counts its NUL");
    require(recordText(text, length).size() == length - 1, "a stored text is shown whole");
}

/** Fetches into an array of just the source's capacity, over what was there before. */
template <int Capacity, typename Record, typename Fetch, typename Check> void fetchAll(Fetch fetch, Check check)
{
    static Record records[Capacity];
    int count = -1;
    require(fetch(&count, records) == 0, "the records can be fetched");
    require(count >= 0 && count <= Capacity, "the count is within the capacity");
    for (int i = 0; i < count; ++i)
        check(records[i]);
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    content = data;
    contentSize = size;
    opened = 0;
    require(InitDBSensorsDebug(QString()) == 0, "sensors can be initialised");
    fetchAll<DebugSensorCapacity, CSensor>(DBGetSensorsDebug, [](const CSensor &sensor) {
        checkText(sensor.SensorID, sensor.LSensorID);
        if (sensor.Description)
            checkText(sensor.Description, sensor.LDescription);
    });
    fetchAll<DebugEventCapacity, CMessageEvent>(
        [](int *n, CMessageEvent *events) { return DBGetEventsDebug(n, events, nullptr); },
        [](const CMessageEvent &event) {
            checkText(event.SensorID, event.LSensorID);
            checkText(event.EventName, event.LEventName);
            require(event.AllParameters().isEmpty(), "a test event has no parameters");
        });
    fetchAll<DebugCommandCapacity, CMessageCommand>(
        [](int *n, CMessageCommand *commands) { return DBGetCommandsDebug(n, commands, nullptr); },
        [](const CMessageCommand &command) {
            checkText(command.SensorID, command.LSensorID);
            require(command.AllParameters().isEmpty(), "a test command has no parameters");
        });
    require(opened == 3, "each of the three files was read from memory");
    return 0;
}
