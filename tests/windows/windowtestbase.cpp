// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "windowtestbase.h"

#include "clock.h"
#include "informationbox.h"
#include "loadguard.h"

#include <KLocalizedString>
#include <QDialog>

namespace
{
std::time_t now = 0;
int milliseconds = 0;
} // namespace

void WindowTestBase::setTime(std::time_t time)
{
    now = time;
}

void WindowTestBase::passMilliseconds(int count)
{
    milliseconds += count;
}

void WindowTestBase::init()
{
    m_library = std::make_unique<FakeLibrary>();
    m_watch = std::make_unique<MessageWatch>();
    setInformationBox([](QDialog *parent, const QString &caption, const QString &text) {
        showInformationBox(parent, caption, text);
    });
    setTextLookUp([](const char *text) { return tr2i18n(text); });
    setTime(StartTime);
    setClock([] { return now; });
    setLoadClock([] { return milliseconds; });
}

void WindowTestBase::cleanup()
{
    setClock(nullptr);
    setLoadClock(nullptr);
    const QStringList unexpected = MessageWatch::unexpected();
    const bool cursorLeft = QApplication::overrideCursor();
    const QWidgetList windowsLeft = QApplication::topLevelWidgets();
    const int stillWaiting = forgetWaiting();
    m_watch.reset();
    m_library.reset();
    QVERIFY2(unexpected.isEmpty(), qPrintable(unexpected.join('\n')));
    QVERIFY(!cursorLeft);
    QCOMPARE(stillWaiting, 0);
    QVERIFY2(windowsLeft.isEmpty(), windowsLeft.isEmpty() ? "" : windowsLeft.first()->metaObject()->className());
}
