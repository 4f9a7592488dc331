// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "completion.h"

#include "databases.h"
#include "helptexts.h"
#include "rows.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace
{
using Others = Completion::Others;

bool takesValue(const CLI::Option &option)
{
    return option.get_items_expected_max() > 0;
}

bool isOption(const std::string &word)
{
    return word.size() > 1 && word.front() == '-';
}

/** Its long name without hyphens, or what a positional is called. */
std::string keyOf(const CLI::Option &option)
{
    return option.get_lnames().empty() ? option.get_name(true, false) : option.get_lnames().front();
}

/** The option of a word such as --sensor, --sensor=x, -s or -sx; NULL when there is none. */
const CLI::Option *optionOf(const CLI::App &command, const std::string &word)
{
    const bool isLong = word.rfind("--", 0) == 0;
    const std::string name = isLong ? word.substr(0, word.find('=')) : word.substr(0, 2);
    for (const CLI::Option *option : command.get_options())
        if (!option->get_positional() && option->check_name(name))
            return option;
    return nullptr;
}

/** NULL when there is none. */
const CLI::App *commandOf(const CLI::App &program, const std::string &name)
{
    const auto found = program.get_subcommands([&](const CLI::App *command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

/** The words before the one that is completed. */
struct WordsBefore {
    explicit WordsBefore(const CLI::App &whole)
        : program(whole)
        , command(&whole)
    {
    }
    void take(const std::string &word)
    {
        if (pending)
            takeValue(word);
        else if (!behindOptions && word == "--")
            behindOptions = true;
        else if (!behindOptions && isOption(word))
            takeOption(word);
        else if (command == &program)
            command = commandOf(program, word);
        else
            ++positionals;
    }
    void takeValue(const std::string &word)
    {
        if (keyOf(*pending) == "installation")
            directory = word;
        pending = nullptr;
    }
    void takeOption(const std::string &word)
    {
        const CLI::Option *option = optionOf(*command, word);
        // That of --wait is joined to it.
        if (!option || !takesValue(*option) || keyOf(*option) == "wait")
            return;
        pending = option;
        const bool isLong = word.rfind("--", 0) == 0;
        const std::size_t value = isLong ? word.find('=') : word.size() > 2 ? 1 : std::string::npos;
        if (value != std::string::npos)
            takeValue(word.substr(value + 1));
    }

    const CLI::App &program;
    const CLI::App *command; ///< the program itself until there is one; NULL behind one that it does not have
    const CLI::Option *pending = nullptr; ///< whose value comes next
    bool behindOptions = false;
    std::size_t positionals = 0;
    std::string directory;
};

void addWords(Completion &to, const std::vector<CodeWord> &words)
{
    for (const CodeWord &known : words)
        to.candidates.push_back({known.word, {}});
}

void addTexts(Completion &to, const std::vector<const char *> &texts)
{
    for (const char *text : texts)
        to.candidates.push_back({text, {}});
}

/** What the value of an option may be. */
void addValues(Completion &to, const std::string &command, const std::string &key)
{
    if (key == "type")
        addWords(to, command == "sensors" ? Livenesses : command == "events" ? SensorKinds : Orders);
    else if (key == "sensor-type")
        addWords(to, SensorKinds);
    else if (key == "ORDER")
        addWords(to, Orders);
    else if (key == "KIND")
        addTexts(to, {"event", "command"});
    else if (key == "number")
        addTexts(to, {"all"});
    else if (key == "since" || key == "until")
        addTexts(to, {"now", "today", "yesterday", "tomorrow", "-1h", "-1d", "-1w"});
    else if (key == "color")
        addTexts(to, {"auto", "always", "never"});
    else if (key == "output" && command == "status")
        addTexts(to, {"text", "json"});
    else if (key == "output")
        addTexts(to, {"table", "csv", "json", "short"});
    else if (key == "database")
        for (const std::string &begin : databaseBegins())
            to.candidates.push_back({begin, {}});
    else if (key == "sensor" || key == "SENSOR")
        to.others = Others::Sensors;
    else if (key == "installation" || key == "TO-DIR" || key == "DIR")
        to.others = Others::Folders;
}

/** The positionals of a command; the last of them may be given more than once. */
void addPositional(Completion &to, const CLI::App &command, std::size_t place)
{
    std::vector<const CLI::Option *> positionals;
    for (const CLI::Option *option : command.get_options())
        if (option->get_positional())
            positionals.push_back(option);
    if (place < positionals.size())
        addValues(to, command.get_name(), keyOf(*positionals[place]));
}

void addOptions(Completion &to, const CLI::App &command)
{
    for (const CLI::Option *option : command.get_options()) {
        for (const std::string &name : option->get_lnames())
            to.candidates.push_back({"--" + name, option->get_description()});
        for (const std::string &name : option->get_snames())
            to.candidates.push_back({"-" + name, option->get_description()});
    }
}

void complete(Completion &to, const WordsBefore &before)
{
    const std::string word = to.begin;
    const bool isJoined = word.rfind("--", 0) == 0 && word.find('=') != std::string::npos;
    if (before.pending) {
        addValues(to, before.command->get_name(), keyOf(*before.pending));
    } else if (!before.behindOptions && isJoined) {
        if (const CLI::Option *option = optionOf(*before.command, word))
            addValues(to, before.command->get_name(), keyOf(*option));
        to.begin = word.substr(word.find('=') + 1);
    } else if (!before.behindOptions && !word.empty() && word.front() == '-') {
        addOptions(to, *before.command);
    } else if (!before.command->get_parent()) {
        for (const CommandHelp &help : commandHelps())
            to.candidates.push_back({help.name, help.summary});
    } else {
        addPositional(to, *before.command, before.positionals);
    }
}
} // namespace

Completion completionOf(const CLI::App &program, const std::vector<std::string> &words)
{
    Completion to;
    to.begin = words.empty() ? "" : words.back();
    WordsBefore before(program);
    for (std::size_t i = 0; i + 1 < words.size() && before.command; ++i)
        before.take(words[i]);
    to.directory = before.directory;
    if (before.command)
        complete(to, before);
    const auto isOther = [&](const Candidate &one) { return one.word.compare(0, to.begin.size(), to.begin) != 0; };
    to.candidates.erase(std::remove_if(to.candidates.begin(), to.candidates.end(), isOther), to.candidates.end());
    return to;
}
