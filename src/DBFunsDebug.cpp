// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DBFunsDebug.h"

#include "Config.h"
#include "Messages.h"

#include <QFile>

#include <iterator>
#include <string>

namespace
{
template <typename Record, int Size> struct Table {
    const char *file;
    const char *nameKey;
    Record records[Size] = {};
    int count = 0;
};

Table<CSensor, DebugSensorCapacity> sensorTable = {"/DebugInitSensor.txt", "ID"};
Table<CMessageEvent, DebugEventCapacity> eventTable = {"/DebugInitEvents.txt", "SENSOR_ID"};
Table<CMessageCommand, DebugCommandCapacity> commandTable = {"/DebugInitCommands.txt", "SENSOR_ID"};
QString cutFile;       ///< what testFileCutShort() returns
QString rememberedDir; ///< given last to the initialiser of events or of commands

/** The lines of one block. */
class Block
{
public:
    /** Reads the next block; false when the file ends before the block does. */
    bool read(std::FILE *f)
    {
        return GetConfigBlock(f, m_lines, m_count) == 1;
    }

    /** Empty without such a key. */
    std::string text(const char *key) const
    {
        std::string value;
        findConfigValue(m_lines, m_count, key, value);
        return value;
    }

    /** 0 without such a key and for what is not a whole integer. */
    int number(const char *key) const
    {
        return QString::fromStdString(text(key)).toInt();
    }

private:
    char m_lines[MaxBlockLines][ConfigLineSize];
    int m_count = 0;
};

void setText(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

// Each fills a table's slot, whose name stands there, from a block. What no key sets stays as it was in that slot.

void fill(CSensor &sensor, const Block &block)
{
    sensor.SensorType = block.number("Type");
    const std::string description = block.text("Description");
    if (!description.empty())
        setText(sensor.Description, sensor.LDescription, description);
    const std::string alive = block.text("IsAlive");
    if (!alive.empty()) {
        const bool yes = alive == "yes" || alive == "Yes" || alive == "YES";
        sensor.MessageType = yes ? SensorAlive : SensorDead;
    }
}

void fill(CMessageEvent &event, const Block &block)
{
    event.SensorType = block.number("SENSOR_TYPE");
    setText(event.EventName, event.LEventName, block.text("EVENT_NAME"));
    event.EventTime = block.number("EVENT_TIME");
}

void fill(CMessageCommand &command, const Block &block)
{
    command.CommandType = block.number("COMMAND_TYPE");
    command.CommandID = block.number("COMMAND_ID");
    command.CommandTime = block.number("COMMAND_TIME");
}

/**
 * Runs what may find memory short: 0 when it did not, else -1. No exception
 * may leave the source: it would unwind through the event loop.
 */
template <typename Action> int attempt(Action action)
{
    try {
        action();
        return 0;
    } catch (...) {
        return -1;
    }
}

/** A block without a name leaves the slot untouched, for the next one. */
template <typename Table> int read(Table &table, const QString &dir)
{
    return attempt([&] {
        const QString path = dir + QLatin1String(table.file);
        table.count = 0;
        cutFile.clear();
        const OwnedFile file(openRegularFile(QFile::encodeName(path).constData()), std::fclose);
        Block block;
        while (file && table.count < int(std::size(table.records)) && block.read(file.get())) {
            const std::string name = block.text(table.nameKey);
            if (name.empty())
                continue;
            auto &record = table.records[table.count];
            setText(record.SensorID, record.LSensorID, name);
            fill(record, block);
            ++table.count;
        }
        if (file && std::ftell(file.get()) > MaxConfigFileSize)
            cutFile = path;
    });
}

template <typename Table, typename Record> int handOut(const Table &table, int *n, Record *records)
{
    if (!n)
        return -1;
    const int result = attempt([&] {
        for (int i = table.count - 1; records && i >= 0; --i)
            records[i] = table.records[i];
    });
    if (result == 0)
        *n = table.count;
    return result;
}
} // namespace

int InitDBSensorsDebug(QString dir)
{
    return read(sensorTable, dir);
}

int InitDBEventsDebug(QString dir)
{
    rememberedDir = dir;
    return read(eventTable, dir);
}

int InitDBCommandsDebug(QString dir)
{
    rememberedDir = dir;
    return read(commandTable, dir);
}

int DBGetSensorsDebug(int *n, CSensor *sensors)
{
    return handOut(sensorTable, n, sensors);
}

int DBGetEventsDebug(int *n, CMessageEvent *events, CMessageEventRequest *)
{
    const int result = InitDBEventsDebug(rememberedDir);
    return result == 0 ? handOut(eventTable, n, events) : result;
}

int DBGetCommandsDebug(int *n, CMessageCommand *commands, CMessageCommandRequest *)
{
    const int result = InitDBCommandsDebug(rememberedDir);
    return result == 0 ? handOut(commandTable, n, commands) : result;
}

QString testFileCutShort()
{
    return cutFile;
}
