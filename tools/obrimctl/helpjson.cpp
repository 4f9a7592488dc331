// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "helpjson.h"

#include "helptexts.h"

#include <CLI/CLI.hpp>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace
{
using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void write(Writer &writer, const char *key, const std::string &text)
{
    writer.Key(key);
    writer.String(text.c_str());
}

void writeOption(Writer &writer, const CLI::Option &option)
{
    writer.StartObject();
    writer.Key("names");
    writer.StartArray();
    for (const std::string &name : option.get_snames())
        writer.String(("-" + name).c_str());
    for (const std::string &name : option.get_lnames())
        writer.String(("--" + name).c_str());
    if (option.get_positional())
        writer.String(option.get_name(true, false).c_str());
    writer.EndArray();
    write(writer, "value", option.get_items_expected_max() > 0 ? option.get_type_name() : "");
    write(writer, "description", option.get_description());
    writer.EndObject();
}

void writeOptions(Writer &writer, const CLI::App &app)
{
    writer.Key("options");
    writer.StartArray();
    for (const CLI::Option *option : app.get_options())
        writeOption(writer, *option);
    writer.EndArray();
}

void writeHelp(Writer &writer, const CommandHelp &help)
{
    write(writer, "name", help.name);
    write(writer, "summary", help.summary);
    write(writer, "more", help.more);
    writer.Key("examples");
    writer.StartArray();
    for (const Example &example : help.examples) {
        writer.StartObject();
        write(writer, "command", example.command);
        write(writer, "what", example.what);
        writer.EndObject();
    }
    writer.EndArray();
}
} // namespace

std::string helpJson(const CLI::App &app)
{
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writeHelp(writer, programHelp());
    std::string statuses;
    for (std::size_t i = 0; i < exitStatuses().size(); ++i)
        statuses += (i > 0 ? "; " : "") + std::to_string(i) + " " + exitStatuses()[i];
    write(writer, "exit_statuses", statuses);
    writeOptions(writer, app);
    writer.Key("commands");
    writer.StartArray();
    for (const CommandHelp &help : commandHelps()) {
        writer.StartObject();
        writeHelp(writer, help);
        writeOptions(writer, *app.get_subcommand(help.name));
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}
