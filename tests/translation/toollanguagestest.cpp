// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the command-line tools say in the languages that they are delivered in.
#include "filling.h"
#include "translation.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <unistd.h>

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

#ifdef __SANITIZE_ADDRESS__
// The C library may lose the list of folders that it makes of LOCPATH.
extern "C" int __lsan_is_turned_off()
{
    return 1;
}
#endif

namespace
{
const char *const Languages[] = {"de", "fr", "es", "ru"};

/** What a command line of the shell writes to both its outputs. The locale is German in all but what it says. */
std::string outputOf(const std::string &command, const std::string &language)
{
    const std::string environment =
        "LSAN_OPTIONS=detect_leaks=0 LOCPATH='" OBRIM_TEST_LOCALES "' LC_ALL=de_DE.UTF-8 LANGUAGE=" + language +
        " TZ=UTC ";
    std::FILE *pipe = popen((environment + command + " 2>&1").c_str(), "r");
    std::string text;
    char bytes[4096];
    for (std::size_t count; (count = std::fread(bytes, 1, sizeof(bytes), pipe)) > 0;)
        text.append(bytes, count);
    pclose(pipe);
    return text;
}

/** An installation with events, and a folder for all that is written. */
class ToolLanguages : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        folder() = fs::temp_directory_path() / ("obrim-languages-" + std::to_string(getpid()));
        fs::create_directory(folder());
        outputOf(ctl("init " + folder() + "/plant --database 'library:" DBLIB_SQLITE "'"), "en");
        outputOf("'" SENSOR_SIM "' --config " + folder() + "/plant/Config --sensors 3 --fill 20", "en");
    }
    static void TearDownTestSuite()
    {
        fs::remove_all(folder());
    }

    static std::string &folder()
    {
        static std::string path;
        return path;
    }
    static std::string ctl(const std::string &arguments)
    {
        return "'" OBRIMCTL "' " + arguments;
    }
    static std::string ctlOn(const std::string &arguments)
    {
        return ctl("-C " + folder() + "/plant " + arguments);
    }
};
} // namespace

TEST_F(ToolLanguages, helpOfObrimctlIsInEach)
{
    EXPECT_THAT(outputOf(ctl("--help"), "de"), HasSubstr("\nBefehle:\n"));
    EXPECT_THAT(outputOf(ctl("--help"), "fr"), HasSubstr("Lister les capteurs."));
    EXPECT_THAT(outputOf(ctl("put --help"), "es"), HasSubstr("SENSOR OBLIGATORIO          su nombre\n"));
    EXPECT_THAT(outputOf(ctl("put --help"), "ru"), HasSubstr("SENSOR ОБЯЗАТЕЛЬНО          его имя\n"));
    for (const char *language : Languages)
        EXPECT_THAT(outputOf(ctl("events --help"), language), Not(HasSubstr("Options:\n  -h"))) << language;
}

TEST_F(ToolLanguages, tablesHaveTheirHeadings)
{
    EXPECT_THAT(outputOf(ctlOn("sensors"), "de"), HasSubstr("LETZTE MELDUNG             BESCHREIBUNG\n"));
    EXPECT_THAT(outputOf(ctlOn("events"), "fr"), HasSubstr("  CAPTEUR"));
    EXPECT_THAT(outputOf(ctlOn("commands"), "es"), HasSubstr("  ORDEN"));
    EXPECT_THAT(outputOf(ctlOn("sensors"), "ru"), HasSubstr("ПОСЛЕДНЕЕ СООБЩЕНИЕ        ОПИСАНИЕ\n"));
}

TEST_F(ToolLanguages, statusIsToldInEachWithNumbersAsEver)
{
    EXPECT_THAT(outputOf(ctlOn("status"), "de"), HasSubstr("\nSensoren      3: 0 aktiv, "));
    EXPECT_THAT(outputOf(ctlOn("status"), "fr"), HasSubstr("\névénements    20, "));
    EXPECT_THAT(outputOf(ctlOn("status"), "es"), HasSubstr("\nórdenes       sin registros\n"));
    EXPECT_THAT(outputOf(ctlOn("status"), "ru"), HasSubstr("\nвремя ответа  "));
    EXPECT_THAT(outputOf(ctlOn("status"), "de"), Not(testing::ContainsRegex("Laufzeit +[0-9]+,")));
}

TEST_F(ToolLanguages, errorsAreToldInEach)
{
    EXPECT_EQ(outputOf(ctlOn("events -n many"), "de"),
              "obrimctl: -n kann nicht „many“ sein: eine Zahl von Datensätzen oder „all“ wird erwartet\n"
              "„obrimctl events --help“ sagt mehr.\n");
    EXPECT_EQ(outputOf(ctlOn("delete event 21"), "fr"),
              "obrimctl: il n’y a pas d’événement 21\u00a0; rien n’a été supprimé\n");
    EXPECT_EQ(outputOf(ctlOn("put pump stop"), "es"),
              "obrimctl: no hay ningún sensor «pump»; «obrimctl sensors» lista los que hay\n");
    EXPECT_EQ(outputOf(ctl("put"), "ru"), "obrimctl: не указано: SENSOR\nСм. «obrimctl put --help».\n");
    // That of the C library.
    EXPECT_THAT(outputOf(ctl("init " + folder() + "/plant/Pics/Red.bmp/x --database 'library:" DBLIB_SQLITE "'"), "en"),
                HasSubstr("Not a directory"));
}

TEST_F(ToolLanguages, whatProgramsReadOfObrimctlIsTheSameInAll)
{
    fs::create_directories(folder() + "/empty/Pics");
    fs::copy_file(folder() + "/plant/Pics/Red.bmp", folder() + "/empty/Pics/Red.bmp",
                  fs::copy_options::overwrite_existing);
    for (const std::string &command :
         {ctlOn("sensors -o json"), ctlOn("sensors -o csv"), ctlOn("events -o csv"), ctlOn("events -o json"),
          ctlOn("events -o short"), ctlOn("commands -o csv"), ctl("--help-json"), ctl("--version"),
          ctl("-C " + folder() + "/empty status -o json")}) {
        const std::string english = outputOf(command, "en");
        EXPECT_FALSE(english.empty()) << command;
        for (const char *language : Languages)
            EXPECT_EQ(outputOf(command, language), english) << language;
    }
}

TEST_F(ToolLanguages, theSimulatorSpeaksEach)
{
    const std::string simulator = "'" SENSOR_SIM "' ";
    EXPECT_THAT(outputOf(simulator + "--help", "de"), HasSubstr("\n  --duration SEC  nach SEC Sekunden enden\n"));
    EXPECT_EQ(outputOf(simulator + "--config /nowhere/at/all", "fr").find("sensor-sim: --config /nowhere/at/all: "),
              0U);
    EXPECT_THAT(outputOf(simulator + "--rate x", "es"), HasSubstr("sensor-sim: --rate no puede ser «x»\n"));
    EXPECT_THAT(outputOf(simulator + "--config " + folder() + "/plant/Config --sensors 3 --fill 5", "ru"),
                HasSubstr("записано событий истории: 5 из 5, в секунду: "));
    for (const char *language : Languages)
        EXPECT_THAT(outputOf(simulator + "--help", language), Not(HasSubstr("Options:"))) << language;
}

TEST_F(ToolLanguages, theSimulatorsLogIsTheSameInAll)
{
    const auto log = [](const std::string &language) {
        const std::string path = folder() + "/log." + language;
        outputOf("'" OBRIMCTL "' init " + folder() + "/logged." + language + " --database 'library:" DBLIB_SQLITE "'",
                 "en");
        outputOf("'" SENSOR_SIM "' --config " + folder() + "/logged." + language +
                     "/Config --sensors 3 --seed 1 --rate 1000 --duration 0.05 --log " + path,
                 language);
        return outputOf("cat " + path, "en");
    };
    const std::string english = log("en");
    EXPECT_THAT(english, HasSubstr("event 1 "));
    EXPECT_EQ(log("ru"), english);
}

TEST_F(ToolLanguages, theCheckerSpeaksEach)
{
    const std::string checker = "'" DBLIB_CHECK "' ";
    EXPECT_THAT(outputOf(checker + "--help", "de"), HasSubstr("\n  --help            dieser Text\n"));
    EXPECT_THAT(outputOf(checker + "--list", "fr"), HasSubstr("\n        pour l’opérateur\u00a0: "));
    EXPECT_EQ(outputOf(checker + "--only nothing", "es"),
              "dblib-check: --only: no hay ninguna comprobación nothing; --list las nombra\n");
    const std::string report = outputOf(checker + "--only file --seed 7 '" DBLIB_SQLITE "'", "ru");
    EXPECT_THAT(report, HasSubstr("библиотека      " DBLIB_SQLITE "\n"));
    EXPECT_THAT(report, HasSubstr("начальное число 7\n"));
    EXPECT_THAT(report, HasSubstr("1 проверка: 1 pass, 0 warn, 0 fail, 0 crash, 0 timeout, 0 skip\n"));
    for (const char *language : Languages) {
        EXPECT_THAT(outputOf(checker + "--help", language), Not(HasSubstr("Options:"))) << language;
        EXPECT_THAT(outputOf(checker + "--list", language), Not(HasSubstr("for the operator"))) << language;
    }
}

TEST_F(ToolLanguages, whatFailsIsExplainedForTheOperator)
{
    const std::string said = outputOf("'" DBLIB_CHECK "' --only file /etc/passwd", "de");
    EXPECT_THAT(said, HasSubstr("\nfail    file "));
    EXPECT_THAT(
        said, HasSubstr("\n        für den Bediener: Die Konsole läuft ohne die Bibliothek und zeigt Testdaten statt"));
}

TEST_F(ToolLanguages, theCheckersReportForProgramsIsTheSameInAll)
{
    const auto report = [](const std::string &language) {
        const std::string path = folder() + "/report." + language;
        outputOf("'" DBLIB_CHECK "' --only file --only load --seed 7 --report " + path + " /etc/passwd", language);
        const std::regex times(" time=\"[0-9.]+\""); // which differ in each run
        return std::regex_replace(outputOf("cat " + path, "en"), times, "");
    };
    const std::string english = report("en");
    EXPECT_THAT(english, HasSubstr("<failure message="));
    EXPECT_THAT(english, HasSubstr("The console runs without the library"));
    for (const char *language : Languages)
        EXPECT_EQ(report(language), english) << language;
}

TEST_F(ToolLanguages, inTheCLocaleAllIsEnglish)
{
    EXPECT_THAT(outputOf("env LC_ALL=C " + ctl("--help"), "de"), HasSubstr("\nSubcommands:\n"));
}

TEST_F(ToolLanguages, aCountHasTheFormOfItsNumber)
{
    ASSERT_EQ(setenv("LOCPATH", OBRIM_TEST_LOCALES, 1), 0);
    ASSERT_EQ(setenv("LC_ALL", "de_DE.UTF-8", 1), 0);
    ASSERT_EQ(setenv("LANGUAGE", "ru", 1), 0);
    setLanguage();
    const auto told = [](long long count) {
        return filled(translatedFor(count, "%1 sensors are not alive", "%1 sensors are not alive"), count);
    };
    EXPECT_EQ(told(1), "1 датчик не работает");
    EXPECT_EQ(told(3), "3 датчика не работают");
    EXPECT_EQ(told(11), "11 датчиков не работают");
    EXPECT_EQ(told(5000000000002), "5000000000002 датчика не работают");
    setEnglish();
    EXPECT_EQ(told(1), "1 sensors are not alive");
}
