// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "libraryagent.h"

#include "LoadDLL.h"
#include "capturedoutput.h"
#include "data.h"
#include "storetesting.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>

namespace
{
std::vector<std::string> fetchEvents(int &result)
{
    CMessageEventRequest request = eventsWanted(INT_MAX, true);
    std::vector<std::string> records;
    int n = 0;
    CMessageEvent *events = nullptr;
    result = FDBGetEvents(&n, &events, &request);
    for (int i = 0; i < n; ++i) {
        const CMessageEvent &event = events[i];
        records.push_back(std::to_string(event.MessageID) + " " + event.SensorID + " " + event.EventName + " " +
                          std::to_string(event.EventTime));
    }
    FDBGetEvents(nullptr, &events, &request);
    return records;
}

std::vector<std::string> fetchSensors(int &result)
{
    std::vector<std::string> records;
    int n = 0;
    CSensor *sensors = nullptr;
    result = FDBGetSensors(&n, &sensors);
    for (int i = 0; i < n; ++i)
        records.emplace_back(sensors[i].SensorID);
    FDBGetSensors(nullptr, &sensors);
    return records;
}

LibraryAgent::Answer obey(const std::string &command, const std::string &config)
{
    LibraryAgent::Answer answer;
    std::istringstream words(command);
    std::string what;
    std::string sensor;
    std::string name;
    words >> what >> sensor >> name;
    const CapturedOutput errors(stderr);
    if (what == "initialise") {
        answer.result = FInitDBEvents(config.c_str());
    } else if (what == "events") {
        answer.records = fetchEvents(answer.result);
    } else if (what == "sensors") {
        answer.records = fetchSensors(answer.result);
    } else {
        CMessageEvent event = makeEvent(sensor, name, 1000);
        answer.result = FDBPutEvent(&event);
    }
    answer.said = errors.text();
    return answer;
}

void writeAll(int descriptor, const std::string &text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = ::write(descriptor, text.data() + done, text.size() - done);
        if (written <= 0)
            ::_exit(1);
        done += std::size_t(written);
    }
}

std::string oneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/** In the child: loads the library and obeys until there are no more commands. */
[[noreturn]] void serve(const std::string &config, int commands, int answers)
{
    {
        const CapturedOutput output(stdout);
        if (LoadDLL(QString::fromLocal8Bit(DBLIB_SQLITE_FOLDER)) != 0)
            ::_exit(1);
    }
    std::FILE *lines = ::fdopen(commands, "r");
    char line[1000];
    while (std::fgets(line, sizeof line, lines)) {
        const LibraryAgent::Answer answer = obey(line, config);
        std::string text = std::to_string(answer.result) + "\n" + oneLine(answer.said) + "\n" +
                           std::to_string(answer.records.size()) + "\n";
        for (const std::string &record : answer.records)
            text += record + "\n";
        writeAll(answers, text);
    }
    // Not by _exit: the library closes the database as it does in a console.
    std::exit(0);
}
} // namespace

LibraryAgent::LibraryAgent(const std::string &config)
{
    // One that was killed must not take the test with it.
    ::signal(SIGPIPE, SIG_IGN);
    int commands[2];
    int answers[2];
    if (::pipe(commands) != 0 || ::pipe(answers) != 0)
        throw std::runtime_error("no pipes");
    std::fflush(nullptr);
    m_process = ::fork();
    if (m_process == 0) {
        // Also the ends that lead to other agents, which would not come to their ends otherwise.
        for (int descriptor = STDERR_FILENO + 1; descriptor < 1000; ++descriptor)
            if (descriptor != commands[0] && descriptor != answers[1])
                ::close(descriptor);
        serve(config, commands[0], answers[1]);
    }
    ::close(commands[0]);
    ::close(answers[1]);
    m_commands = commands[1];
    m_answers = answers[0];
}

LibraryAgent::~LibraryAgent()
{
    ::close(m_commands);
    ::close(m_answers);
    ::waitpid(m_process, nullptr, 0);
}

void LibraryAgent::kill()
{
    ::kill(m_process, SIGKILL);
}

LibraryAgent::Answer LibraryAgent::ask(const std::string &command)
{
    const std::string line = command + "\n";
    Answer answer;
    if (::write(m_commands, line.data(), line.size()) != ssize_t(line.size()))
        return answer;
    answer.result = std::atoi(readLine().c_str());
    answer.said = readLine();
    for (int left = std::atoi(readLine().c_str()); left > 0; --left)
        answer.records.push_back(readLine());
    return answer;
}

std::string LibraryAgent::readLine()
{
    std::size_t end = 0;
    while ((end = m_read.find('\n')) == std::string::npos) {
        char bytes[4096];
        const ssize_t n = ::read(m_answers, bytes, sizeof bytes);
        if (n <= 0)
            throw std::runtime_error("the process with the library has ended");
        m_read.append(bytes, std::size_t(n));
    }
    std::string line = m_read.substr(0, end);
    m_read.erase(0, end + 1);
    return line;
}
