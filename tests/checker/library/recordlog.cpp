// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "store.h"

#include "MessageEventParam.h"
#include "fault.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace
{
std::string logPath;

/** Bytes in a form without blanks and line ends; "-" stands before them, as there may be none. */
std::string hex(const char *bytes, int length)
{
    std::string result = "-";
    char code[4];
    for (int i = 0; bytes && i < length; ++i) {
        std::snprintf(code, sizeof(code), "%02X", unsigned(static_cast<unsigned char>(bytes[i])));
        result += code;
    }
    return result;
}

std::string unhex(const std::string &code)
{
    std::string result;
    for (std::size_t i = 1; i + 1 < code.size(); i += 2)
        result += char(std::stoi(code.substr(i, 2), nullptr, 16));
    return result;
}

void write(const std::string &line)
{
    if (!logPath.empty())
        std::ofstream(logPath, std::ios::app) << line << "\n";
}

std::string parameters(const CMessageEventParam *par, int count)
{
    std::string text = " " + std::to_string(count);
    for (int i = 0; i < count; ++i) {
        text += " " + std::to_string(par[i].Type) + " " + hex(par[i].Name, par[i].LName) + " " +
                hex(par[i].Val, par[i].LVal);
    }
    return text;
}

/** A text of an event as the file keeps it. */
std::string kept(const char *text, int length)
{
    std::string bytes(text ? text : "", std::size_t(length > 0 ? length : 0));
    for (char &c : bytes) {
        if (fault("restart-folds-lines") && c == '\n')
            c = ' ';
        if (fault("restart-loses-bytes") && c < 0)
            c = '?';
    }
    return hex(bytes.data(), int(bytes.size()));
}

void readBytes(std::istream &line, char *&bytes, int &length)
{
    std::string code;
    line >> code;
    const std::string read = unhex(code);
    CopyPtr(&bytes, &length, read.data(), int(read.size()));
}

void readParameters(std::istream &line, CMessageEventParam *&par, int &count)
{
    line >> count;
    par = count > 0 ? new CMessageEventParam[std::size_t(count)] : nullptr;
    for (int i = 0; i < count; ++i) {
        line >> par[i].Type;
        readBytes(line, par[i].Name, par[i].LName);
        readBytes(line, par[i].Val, par[i].LVal);
    }
}

void readEvent(std::istream &line)
{
    CMessageEvent event;
    long long time = 0;
    line >> store().events.nextId >> event.MessageType >> event.SensorType >> time;
    event.EventTime = std::time_t(time);
    readBytes(line, event.SensorID, event.LSensorID);
    readBytes(line, event.EventName, event.LEventName);
    readParameters(line, event.par, event.ParNum);
    if (fault("restart-loses-parameters"))
        event.ParNum = 0;
    if (fault("restart-loses-long") && event.LSensorID > 200)
        return;
    add(event);
}

void readCommand(std::istream &line)
{
    CMessageCommand command;
    long long time = 0;
    line >> store().commands.nextId >> command.MessageType >> command.CommandType >> time;
    command.CommandTime = std::time_t(time);
    readBytes(line, command.SensorID, command.LSensorID);
    readParameters(line, command.par, command.ParNum);
    add(command);
}

void readLine(const std::string &text)
{
    std::istringstream line(text);
    char what = 0;
    int id = 0;
    line >> what;
    if (what == 'E')
        readEvent(line);
    else if (what == 'C' && !fault("restart-loses-commands"))
        readCommand(line);
    else if (what == 'e' && line >> id)
        removeEvent(id);
    else if (what == 'c' && line >> id)
        removeCommand(id);
}
} // namespace

void openLog(const std::string &path)
{
    if (!logPath.empty())
        return;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        readLine(line);
    if (fault("reused-after-restart"))
        store().events.nextId = store().events.records.back().MessageID + 1;
    logPath = path;
}

void logPut(const CMessageEvent &event)
{
    write("E " + std::to_string(event.MessageID) + " " + std::to_string(event.MessageType) + " " +
          std::to_string(event.SensorType) + " " + std::to_string(event.EventTime) + " " +
          kept(event.SensorID, event.LSensorID) + " " + kept(event.EventName, event.LEventName) +
          parameters(event.par, event.ParNum));
}

void logPut(const CMessageCommand &command)
{
    write("C " + std::to_string(command.CommandID) + " " + std::to_string(command.MessageType) + " " +
          std::to_string(command.CommandType) + " " + std::to_string(command.CommandTime) + " " +
          hex(command.SensorID, command.LSensorID) + parameters(command.par, command.ParNum));
}

void logRemoval(char kind, int id)
{
    write(std::string(1, kind) + " " + std::to_string(id));
}
