// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "commandline.h"

#include "bytetext.h"
#include "databases.h"
#include "failure.h"
#include "filling.h"
#include "helpformatter.h"
#include "helpjson.h"
#include "helptexts.h"
#include "translation.h"
#include "values.h"
#include "visibletext.h"

#include <CLI/CLI.hpp>
#include <climits>
#include <map>
#include <memory>

namespace
{
constexpr const char *Version = "obrimctl " OBRIM_VERSION;
constexpr const char *DefaultWait = "10";
constexpr double MostSeconds = 1e6;
constexpr double LeastInterval = 0.01;

/** Values as they were typed: they are read when all are known, since --utc tells what times mean. */
struct Typed {
    std::string directory;
    std::map<std::string, std::string> values; ///< by the long name of the option
    std::string sensor;
    std::string order;
    std::string kind;
    std::vector<std::string> ids;
    std::string to;
    bool first = false;
    bool follow = false;
    bool utc = false;
    bool quick = false;
    bool requireAlive = false;
    bool desktopEntry = false;

    const std::string *value(const char *name) const
    {
        const auto found = values.find(name);
        return found == values.end() ? nullptr : &found->second;
    }
};

/** The program's commands and their options, as the parser has them. */
class Parser
{
public:
    Parser();

    std::variant<Invocation, CommandLineEnd> read(std::vector<std::string> arguments, std::time_t now);

private:
    CLI::App *addCommand(CLI::App &parent, const CommandHelp &help);
    CLI::App *command(const char *name);
    static void addHelp(CLI::App &command);
    void addDirectory(CLI::App &command);
    void addValue(CLI::App &command, const std::string &names, const char *placeholder, const char *description);
    void addListOptions(CLI::App &command);
    void addFormat(CLI::App &command, const char *formats);
    void addSensors();
    void addEvents();
    void addCommands();
    void addOthers();

    Invocation invocation(std::time_t now) const;
    Invocation completion(const std::vector<std::string> &words) const;
    std::string missingCommand() const;
    std::string unexpected() const;
    CommandLineEnd usageEnd(const std::string &reason) const;
    CommandName name() const;
    Filter filter(std::time_t now, Clock clock) const;
    ListOptions list(std::time_t now, Clock clock) const;
    void readType(Filter &filter) const;
    PutOptions put() const;

    CLI::App m_app;
    Typed m_typed;
};

Parser::Parser()
    : m_app(programHelp().summary, programHelp().name)
{
    m_app.formatter(std::make_shared<HelpFormatter>());
    m_app.option_defaults()->group(translated("Options"));
    addHelp(m_app);
    m_app.footer(footerOf(programHelp()));
    m_app.require_subcommand(1);
    m_app.set_version_flag("--version", Version, translated("Display program version information and exit"));
    addDirectory(m_app);
    for (const CommandHelp &help : commandHelps())
        addCommand(m_app, help);
    addSensors();
    addEvents();
    addCommands();
    addOthers();
}

CLI::App *Parser::addCommand(CLI::App &parent, const CommandHelp &help)
{
    CLI::App *added = parent.add_subcommand(help.name, help.summary);
    added->group(translated("Subcommands"));
    addHelp(*added);
    added->footer(footerOf(help));
    addDirectory(*added);
    return added;
}

CLI::App *Parser::command(const char *name)
{
    return m_app.get_subcommand(name);
}

/** In place of the one that the parser makes, which is in English. */
void Parser::addHelp(CLI::App &to)
{
    to.set_help_flag("-h,--help", translated("Print this help message and exit"));
}

/** -C may stand before and behind the command. */
void Parser::addDirectory(CLI::App &to)
{
    to.add_option("-C,--installation", m_typed.directory, translated("the installation, or a folder in it"))
        ->type_name("DIR");
}

void Parser::addValue(CLI::App &to, const std::string &names, const char *placeholder, const char *description)
{
    const std::string key = names.substr(names.find("--") + 2);
    to.add_option_function<std::string>(
          names, [this, key](const std::string &value) { m_typed.values[key] = value; }, description)
        ->type_name(placeholder);
}

void Parser::addFormat(CLI::App &to, const char *formats)
{
    addValue(to, "-o,--output", "FORMAT", formats);
    to.add_flag("--utc", m_typed.utc, translated("times in UTC, read and written"));
}

void Parser::addListOptions(CLI::App &to)
{
    addValue(to, "-S,--since", "TIME", translated("from this time on"));
    addValue(to, "-U,--until", "TIME", translated("up to this time"));
    to.add_flag("--first", m_typed.first, translated("the oldest records in place of the newest"));
    to.add_flag("-f,--follow", m_typed.follow, translated("go on with what comes later, until Ctrl-C"));
    addValue(to, "--interval", "SECONDS", translated("time between two looks at what has come (2)"));
    addValue(to, "--color", "WHEN", translated("auto (on a terminal, unless NO_COLOR is set), always or never"));
    addFormat(to, translated("table, csv, json (one object a line) or short (table)"));
}

void Parser::addSensors()
{
    CLI::App &to = *command("sensors");
    addValue(to, "-s,--sensor", "MASK", translated("sensors whose names match"));
    addValue(to, "-t,--type", "STATE", translated("alive, dead, unknown or a number"));
    addValue(to, "--sensor-type", "KIND", translated("analyser, converter, receiver or a number"));
    addValue(to, "-n,--number", "N", translated("at most so many (all)"));
    addListOptions(to);
}

void Parser::addEvents()
{
    CLI::App &to = *command("events");
    addValue(to, "-s,--sensor", "MASK", translated("sensors whose names match"));
    addValue(to, "-e,--event", "MASK", translated("events whose names match"));
    addValue(to, "-t,--type", "KIND", translated("of this kind: analyser, converter, receiver or a number"));
    addValue(to, "--sensor-type", "KIND", translated("of sensors of this kind, the same words"));
    addValue(to, "--id", "A..B", translated("with these identifiers; A.., ..B and A alone too"));
    addValue(to, "-n,--number", "N", translated("at most so many, or all (100)"));
    addListOptions(to);
}

void Parser::addCommands()
{
    CLI::App &to = *command("commands");
    addValue(to, "-s,--sensor", "MASK", translated("sensors whose names match"));
    addValue(to, "-t,--type", "ORDER", translated("start, stop, restart, kill or a number"));
    addValue(to, "--message-type", "N", translated("with this kind of message, a number"));
    addValue(to, "--id", "A..B", translated("with these identifiers; A.., ..B and A alone too"));
    addValue(to, "-n,--number", "N", translated("at most so many, or all (100)"));
    addListOptions(to);
}

void Parser::addOthers()
{
    CLI::App &put = *command("put");
    put.add_option("SENSOR", m_typed.sensor, translated("its name"))->required()->type_name("");
    put.add_option("ORDER", m_typed.order, translated("start, stop, restart or kill"))->required()->type_name("");
    addValue(put, "--wait", "[=SECONDS]",
             translated("wait until the sensor has reported it, 10 seconds where none are given: --wait, --wait=30"));

    CLI::App &remove = *command("delete");
    remove.add_option("KIND", m_typed.kind, translated("event or command"))->required()->type_name("");
    remove.add_option("ID", m_typed.ids, translated("identifiers"))->required()->type_name("");

    CLI::App &status = *command("status");
    status.add_flag("--quick", m_typed.quick, translated("do not count events and commands"));
    status.add_flag("--require-alive", m_typed.requireAlive, translated("a sensor that is not alive is wrong"));
    addFormat(status, translated("text or json (text)"));

    command("copy")
        ->add_option("TO-DIR", m_typed.to, translated("the installation to copy into"))
        ->required()
        ->type_name("");

    CLI::App &init = *command("init");
    init.add_option("DIR", m_typed.to, translated("where; the folder above must be there"))->required()->type_name("");
    addValue(init, "--database", "DATABASE", databaseWords().c_str());
    addValue(init, "--group", "GROUP", translated("the group of operators and sensors, which owns the files"));
    init.add_flag("--desktop-entry", m_typed.desktopEntry, translated("a menu entry that starts the console there"));
}

CommandName Parser::name() const
{
    static const std::map<std::string, CommandName> names = {
        {"sensors", CommandName::Sensors}, {"events", CommandName::Events}, {"commands", CommandName::Commands},
        {"put", CommandName::Put},         {"status", CommandName::Status}, {"copy", CommandName::Copy},
        {"init", CommandName::Init},
    };
    const std::string parsed = m_app.get_subcommands().front()->get_name();
    if (parsed != "delete")
        return names.at(parsed);
    if (m_typed.kind != "event" && m_typed.kind != "command")
        throw UsageError(filled(translated("delete knows 'event' and 'command', not '%1'"), visibleText(m_typed.kind)));
    return m_typed.kind == "event" ? CommandName::DeleteEvent : CommandName::DeleteCommand;
}

/** -t is what the console's windows filter by: each list has its own. */
void Parser::readType(Filter &filter) const
{
    if (const std::string *type = m_typed.value("type")) {
        switch (name()) {
        case CommandName::Sensors:
            filter.messageType = readCode("--type", *type, Livenesses);
            break;
        case CommandName::Events:
            filter.messageType = readCode("--type", *type, SensorKinds);
            break;
        default:
            filter.commandType = readCode("--type", *type, Orders);
            break;
        }
    }
    if (const std::string *type = m_typed.value("message-type"))
        filter.messageType = readCode("--message-type", *type, {});
    if (const std::string *type = m_typed.value("sensor-type"))
        filter.sensorType = readCode("--sensor-type", *type, SensorKinds);
}

Filter Parser::filter(std::time_t now, Clock clock) const
{
    Filter filter;
    if (const std::string *mask = m_typed.value("sensor"))
        filter.sensor = readMask("--sensor", *mask);
    if (const std::string *mask = m_typed.value("event"))
        filter.event = readMask("--event", *mask);
    if (const std::string *time = m_typed.value("since"))
        filter.since = readTime("--since", *time, now, clock);
    if (const std::string *time = m_typed.value("until"))
        filter.until = readTime("--until", *time, now, clock);
    if (filter.since && filter.until && *filter.since > *filter.until)
        throw UsageError(translated("--since is later than --until: nothing lies between"));
    if (const std::string *ids = m_typed.value("id"))
        filter.ids = readIds(*ids);
    readType(filter);
    return filter;
}

ListOptions Parser::list(std::time_t now, Clock clock) const
{
    ListOptions options;
    options.filter = filter(now, clock);
    if (name() != CommandName::Sensors)
        options.limit = 100;
    if (const std::string *limit = m_typed.value("number"))
        options.limit = readLimit(*limit);
    options.first = m_typed.first;
    options.follow = m_typed.follow;
    if (options.first && options.follow)
        throw UsageError(
            translated("--first and --follow exclude each other: what comes later follows the newest records"));
    if (const std::string *interval = m_typed.value("interval"))
        options.interval = readSeconds("--interval", *interval, LeastInterval, MostSeconds);
    options.format.clock = clock;
    if (const std::string *format = m_typed.value("output"))
        options.format.name = readFormat(*format);
    if (const std::string *colour = m_typed.value("color"))
        options.format.colour = readColour(*colour);
    return options;
}

PutOptions Parser::put() const
{
    PutOptions options;
    options.sensor = toLatin1(m_typed.sensor, translated("the sensor"));
    for (const CodeWord &order : Orders)
        if (m_typed.order == order.word)
            options.order = order.code;
    if (options.order == 0)
        throw UsageError(
            filled(translated("put knows start, stop, restart and kill, not '%1'"), visibleText(m_typed.order)));
    if (const std::string *wait = m_typed.value("wait"))
        options.wait = readSeconds("--wait", *wait, 0, MostSeconds);
    return options;
}

Invocation Parser::invocation(std::time_t now) const
{
    const Clock clock = m_typed.utc ? Clock::Utc : Clock::Local;
    Invocation read;
    read.command = name();
    read.directory = m_typed.directory;
    const std::string *format = m_typed.value("output");
    switch (read.command) {
    case CommandName::Sensors:
    case CommandName::Events:
    case CommandName::Commands:
        read.list = list(now, clock);
        break;
    case CommandName::Put:
        read.put = put();
        break;
    case CommandName::DeleteEvent:
    case CommandName::DeleteCommand:
        for (const std::string &id : m_typed.ids)
            read.toDelete.ids.push_back(readInteger(translated("an identifier"), id, INT_MIN, INT_MAX));
        break;
    case CommandName::Status:
        if (format && *format != "json" && *format != "text")
            refuse("--output", *format, translated("text or json is expected"));
        read.status = {format && *format == "json", m_typed.quick, m_typed.requireAlive, clock};
        break;
    case CommandName::Copy:
        read.copyTo = m_typed.to;
        break;
    case CommandName::Init:
        if (!m_typed.directory.empty())
            throw UsageError(
                translated("init makes DIR, and -C names an installation that is there: only one can be given"));
        if (!m_typed.value("database"))
            throw UsageError(filled(translated("init needs --database: %1"), databaseWords()));
        read.init = {m_typed.to, *m_typed.value("database"), m_typed.value("group") ? *m_typed.value("group") : "",
                     m_typed.desktopEntry};
        break;
    case CommandName::Complete:
        break;
    }
    return read;
}

Invocation Parser::completion(const std::vector<std::string> &words) const
{
    Invocation read;
    read.command = CommandName::Complete;
    read.completion = completionOf(m_app, words);
    read.directory = read.completion.directory;
    return read;
}

CommandLineEnd Parser::usageEnd(const std::string &reason) const
{
    const auto commands = m_app.get_subcommands();
    const std::string command = commands.empty() ? "" : commands.front()->get_name() + " ";
    const std::string advice = filled(translated("Try '%1'."), "obrimctl " + command + "--help");
    return {ExitUsage, {}, "obrimctl: " + reason + "\n" + advice + "\n"};
}

std::string Parser::missingCommand() const
{
    const std::vector<std::string> rest = m_app.remaining();
    return rest.empty() ? translated("a command is missing")
                        : filled(translated("there is no command '%1'"), visibleText(rest.front()));
}

/** The option that a command does not have, else the first word that is too much. */
std::string Parser::unexpected() const
{
    const std::vector<std::string> rest = m_app.remaining(true);
    const auto option = std::find_if(rest.begin(), rest.end(), [](const std::string &word) { return word[0] == '-'; });
    const std::string word = option != rest.end() ? *option : rest.front();
    const std::string command = m_app.get_subcommands().front()->get_name();
    return filled(translated("%1 does not know '%2'"), command, visibleText(word));
}

/** The help is asked for by a program. */
bool isForProgram(const std::vector<std::string> &arguments)
{
    return arguments.size() == 1 && arguments.front() == "--help-json";
}

std::variant<Invocation, CommandLineEnd> Parser::read(std::vector<std::string> arguments, std::time_t now)
{
    if (isForProgram(arguments))
        return CommandLineEnd{ExitWell, helpJson(m_app), {}};
    if (!arguments.empty() && arguments.front() == "complete")
        return completion({arguments.begin() + 1, arguments.end()});
    for (std::string &argument : arguments) {
        if (argument == "--")
            break;
        // Its value is joined to it or not there: a sensor's name may follow.
        if (argument == "--wait")
            argument += std::string("=") + DefaultWait;
    }
    try {
        std::reverse(arguments.begin(), arguments.end());
        m_app.parse(std::move(arguments));
        return invocation(now);
    } catch (const CLI::Success &end) {
        std::ostringstream out;
        std::ostringstream err;
        m_app.exit(end, out, err);
        return CommandLineEnd{ExitWell, out.str(), {}};
    } catch (const CLI::ExtrasError &) {
        return usageEnd(m_app.get_subcommands().empty() ? missingCommand() : unexpected());
    } catch (const CLI::ParseError &error) {
        return usageEnd(m_app.get_subcommands().empty() ? missingCommand() : visibleText(parseErrorText(error)));
    } catch (const UsageError &error) {
        return usageEnd(error.what());
    }
}
} // namespace

std::variant<Invocation, CommandLineEnd> readCommandLine(std::vector<std::string> arguments, std::time_t now)
{
    if (isForProgram(arguments))
        setEnglish();
    return Parser().read(std::move(arguments), now);
}
