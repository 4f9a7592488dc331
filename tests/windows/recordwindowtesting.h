// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "recordkinds.h"
#include "windowtestbase.h"

/** What the tests of the windows of events and of commands have in common: each runs for both. */
class RecordWindowTestBase : public WindowTestBase
{
    Q_OBJECT

protected slots:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("ofEvents");
        QTest::newRow("events") << true;
        QTest::newRow("commands") << false;
    }

protected:
    template <class Body> void eachKind(Body body)
    {
        QFETCH_GLOBAL(bool, ofEvents);
        if (ofEvents)
            body(EventsKind());
        else
            body(CommandsKind());
    }
};

template <class Kind> std::unique_ptr<typename Kind::Window> open(Kind, const char *mask = nullptr)
{
    return std::make_unique<typename Kind::Window>(nullptr, "A list", mask);
}

template <class Kind> auto openWith(Kind kind, int from, int count)
{
    Kind::source().answer = Kind::records(from, count);
    return open(kind);
}

template <class Window> void chooseFirst(Window *window)
{
    QTest::mouseClick(window->rb_First, Qt::LeftButton);
}
