// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "report.h"

#include "filling.h"
#include "translation.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <utility>

namespace
{
/** The first line of what was printed that says something. */
std::string firstLine(const std::string &printed)
{
    std::istringstream lines(printed);
    std::string line;
    while (std::getline(lines, line))
        if (line.find_first_not_of(" \t=-#*") != std::string::npos)
            break;
    return line;
}

bool needsExplanation(Verdict verdict)
{
    return isFailure(verdict) || verdict == Verdict::Warn;
}

int count(const std::vector<Result> &results, Verdict verdict)
{
    return int(std::count_if(results.begin(), results.end(),
                             [verdict](const Result &result) { return result.run.outcome.verdict == verdict; }));
}

/** Text as XML takes it: what a library printed may be anything, Latin-1 is what the console takes it for. */
std::string escaped(const std::string &text)
{
    static const std::pair<char, const char *> entities[] = {
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\n', "&#10;"}};
    std::string result;
    for (char c : text) {
        const auto *entity = std::find_if(std::begin(entities), std::end(entities),
                                          [c](const auto &candidate) { return candidate.first == c; });
        const auto byte = static_cast<unsigned char>(c);
        if (entity != std::end(entities))
            result += entity->second;
        else if (byte > 126)
            result += "&#" + std::to_string(byte) + ";";
        else
            result += byte < ' ' ? '?' : c;
    }
    return result;
}

std::string seconds(double value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f", value);
    return text;
}

std::string element(const Result &result)
{
    const Outcome &outcome = result.run.outcome;
    const std::string finding = escaped(outcome.finding);
    const std::string meaning = escaped(result.check->consequence);
    switch (outcome.verdict) {
    case Verdict::Fail:
        return "<failure message=\"" + finding + "\">" + meaning + "</failure>";
    case Verdict::Crash:
    case Verdict::Timeout:
        return std::string("<error type=\"") + verdictName(outcome.verdict) + "\" message=\"" + finding + "\">" +
               meaning + "</error>";
    case Verdict::Skip:
        return "<skipped message=\"" + finding + "\"/>";
    case Verdict::Warn:
        return "<system-out>warning: " + finding + "</system-out>";
    case Verdict::Pass:
        break;
    }
    return {};
}
} // namespace

std::string resultText(const Result &result)
{
    const Outcome &outcome = result.run.outcome;
    std::string text = padded(verdictName(outcome.verdict), 8) + padded(result.check->name, 24) + outcome.finding;
    text.erase(text.find_last_not_of(' ') + 1);
    text += "\n";
    if (needsExplanation(outcome.verdict)) {
        text += meaningText(*result.check);
        if (!result.run.printed.empty()) {
            const std::string line = quoted(firstLine(result.run.printed).c_str());
            text += "        " + filled(translated("it printed: %1"), line) + "\n";
        }
    }
    return text;
}

std::string headedLines(const std::vector<HeadedText> &lines)
{
    std::size_t width = 7;
    for (const HeadedText &line : lines)
        width = std::max(width, columnCount(line.head));
    std::string text;
    for (const HeadedText &line : lines)
        text += padded(line.head, width) + " " + line.text + "\n";
    return text;
}

std::string meaningText(const Check &check)
{
    return "        " + filled(translated("for the operator: %1"), translated(check.consequence)) + "\n";
}

std::string summaryText(const std::vector<Result> &results)
{
    const auto size = static_cast<long long>(results.size());
    std::string text = filled(translatedFor(size, "%1 checks:", "%1 checks:"), size);
    for (Verdict verdict :
         {Verdict::Pass, Verdict::Warn, Verdict::Fail, Verdict::Crash, Verdict::Timeout, Verdict::Skip})
        text += " " + std::to_string(count(results, verdict)) + " " + verdictName(verdict) + ",";
    text.back() = '\n';
    return text;
}

std::string junitText(const std::string &library, unsigned seed, const std::vector<Result> &results)
{
    double whole = 0;
    for (const Result &result : results)
        whole += result.run.seconds;
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"dblib-check\" tests=\"" +
        std::to_string(results.size()) + "\" failures=\"" + std::to_string(count(results, Verdict::Fail)) +
        "\" errors=\"" + std::to_string(count(results, Verdict::Crash) + count(results, Verdict::Timeout)) +
        "\" skipped=\"" + std::to_string(count(results, Verdict::Skip)) + "\" time=\"" + seconds(whole) + "\">\n";
    text += "  <properties>\n    <property name=\"library\" value=\"" + escaped(library) +
            "\"/>\n    <property name=\"seed\" value=\"" + std::to_string(seed) + "\"/>\n  </properties>\n";
    for (const Result &result : results) {
        text += std::string("  <testcase classname=\"dblib-check\" name=\"") + result.check->name + "\" time=\"" +
                seconds(result.run.seconds) + "\">" + element(result) + "</testcase>\n";
    }
    return text + "</testsuite>\n";
}
