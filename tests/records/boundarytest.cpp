// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the author of a DB library does: include the boundary, link the kit,
// in a program without any toolkit.
#include "Messages.h"
#include "WCompare.h"

#include <gtest/gtest.h>

#if __has_include(<QString>) || __has_include(<QtCore/QString>) || __has_include(<klocalizedstring.h>)
#error "this test must be compiled without the toolkit's include directories"
#endif
#if defined(QT_CORE_LIB) || defined(QSTRING_H)
#error "the boundary has brought the toolkit along"
#endif

TEST(Boundary, RecordsAndRequestsWorkWithoutTheToolkit)
{
    CMessageEvent event;
    CopyPtr(&event.SensorID, &event.LSensorID, "sensor12", 9);
    CMessageEventRequest request;
    CopyPtr(&request.SensorID, &request.LSensorID, "SENSOR12", 9);
    request.UseSensorID = 1;
    EXPECT_EQ(request & event, 1);
    CMessageCommand command;
    command.Set(1, "sensor12", CommandStart);
    EXPECT_EQ(CMessageCommandRequest() & command, 1);
    EXPECT_EQ(CMessageCommand(command).CommandType, 1);
    EXPECT_EQ(CSensor().Status, 0);
    EXPECT_EQ(CMessageKeepAlive().LSensorID, 0);
    EXPECT_EQ(WCompare("sensor12", "sens*"), 1);
}
