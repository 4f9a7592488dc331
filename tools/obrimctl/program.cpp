// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "program.h"

#include "bytetext.h"
#include "clock.h"
#include "copying.h"
#include "deleting.h"
#include "failure.h"
#include "filling.h"
#include "installing.h"
#include "listing.h"
#include "output.h"
#include "parametertext.h"
#include "putting.h"
#include "realpath.h"
#include "status.h"
#include "translation.h"
#include "visibletext.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace
{
/** The base directory that -C names: that of an installation, or of the one that it lies in. */
Installation installationAt(const std::string &directory)
{
    if (isReadableFile((directory + "/Pics/Red.bmp").c_str()))
        return Installation(directory);
    if (const auto base = baseDirectoryAbove(directory))
        return Installation(*base);
    throw Failure(
        filled(translated("%1: no installation: there is no Pics/Red.bmp in it, nor one to three folders above"),
               visibleText(directory)));
}

/** The installation that the working directory lies in, as the console finds it. */
Installation installationHere()
{
    const std::unique_ptr<char, decltype(&std::free)> directory(get_current_dir_name(), &std::free);
    if (!directory)
        throw Failure(translated("the working directory cannot be read; -C names an installation"));
    if (const auto base = baseDirectoryAbove(directory.get()))
        return Installation(*base);
    throw Failure(filled(translated("%1 lies in no installation: there is no Pics/Red.bmp one to three folders above; "
                                    "-C names one"),
                         visibleText(directory.get())));
}

Installation installationOf(const Invocation &invocation)
{
    return invocation.directory.empty() ? installationHere() : installationAt(invocation.directory);
}

void copy(const Invocation &invocation, Output &output)
{
    const Installation from = installationOf(invocation);
    const Installation to = installationAt(invocation.copyTo);
    if (realPath(from.base) == realPath(to.base))
        throw Failure(filled(translated("%1 is the installation itself"), visibleText(to.base)));
    CopyTarget target(to.base);
    copyRecords(Source(from), target, visibleText(to.base), output);
}

/** Those with a line feed or a tab in them cannot stand in a line of candidates. */
void addSensors(Completion &completion, const Source &source)
{
    for (const CSensor &sensor : source.sensors()) {
        const std::string_view name = recordBytes(sensor.SensorID, sensor.LSensorID);
        std::string word;
        appendUtf8(word, name);
        if (visible(name) == word && word.compare(0, completion.begin.size(), completion.begin) == 0)
            completion.candidates.push_back({word, visible(recordBytes(sensor.Description, sensor.LDescription))});
    }
}

/** One candidate a line, with its description behind a tab; "/" stands for any folder. */
void complete(const Invocation &invocation, Output &output)
{
    Completion completion = invocation.completion;
    if (completion.others == Completion::Others::Sensors)
        addSensors(completion, Source(installationOf(invocation)));
    for (const Candidate &candidate : completion.candidates)
        output.write(candidate.word + "\t" + candidate.description + "\n");
    if (completion.others == Completion::Others::Folders)
        output.write("/\n");
}
} // namespace

int run(const Invocation &invocation, Output &output)
{
    switch (invocation.command) {
    case CommandName::Sensors:
        listSensors(Source(installationOf(invocation)), invocation.list, output);
        break;
    case CommandName::Events:
        listRecords<CMessageEvent>(Source(installationOf(invocation)), invocation.list, output);
        break;
    case CommandName::Commands:
        listRecords<CMessageCommand>(Source(installationOf(invocation)), invocation.list, output);
        break;
    case CommandName::Put:
        return putCommand(Source(installationOf(invocation)), invocation.put, output);
    case CommandName::DeleteEvent:
        deleteRecords<CMessageEvent>(Source(installationOf(invocation)), invocation.toDelete, output);
        break;
    case CommandName::DeleteCommand:
        deleteRecords<CMessageCommand>(Source(installationOf(invocation)), invocation.toDelete, output);
        break;
    case CommandName::Status:
        return showStatus(installationOf(invocation), invocation.status, output);
    case CommandName::Copy:
        copy(invocation, output);
        break;
    case CommandName::Init:
        makeInstallation(invocation.init, output);
        break;
    case CommandName::Complete:
        complete(invocation, output);
        break;
    }
    return ExitWell;
}

namespace
{
int tell(const std::string &what, int status)
{
    std::fprintf(stderr, "obrimctl: %s\n", visibleText(what).c_str());
    return status;
}

int runAndFlush(const Invocation &invocation, Output &output)
{
    int status = ExitWell;
    std::string failure;
    try {
        status = run(invocation, output);
    } catch (const Failure &error) {
        // What was written before it is told first.
        failure = error.what();
        status = ExitFailure;
    }
    output.flush();
    return failure.empty() ? status : tell(failure, status);
}

int end(const CommandLineEnd &end, Output &output)
{
    output.write(end.out);
    output.flush();
    std::fputs(end.err.c_str(), stderr);
    return end.status;
}
} // namespace

int runProgram(std::vector<std::string> arguments)
{
    std::signal(SIGPIPE, SIG_IGN);
    try {
        Output output;
        const auto read = readCommandLine(std::move(arguments), currentTime());
        const Invocation *invocation = std::get_if<Invocation>(&read);
        return invocation ? runAndFlush(*invocation, output) : end(std::get<CommandLineEnd>(read), output);
    } catch (const OutputClosed &) {
        return ExitWell;
    } catch (const UsageError &error) {
        return tell(error.what(), ExitUsage);
    } catch (const std::exception &error) {
        return tell(error.what(), ExitFailure);
    }
}
