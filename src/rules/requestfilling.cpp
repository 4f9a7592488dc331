// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "requestfilling.h"

#include "Messages.h"
#include "timepresets.h"

namespace
{
// What both requests have under the same names.
template <class Request> void fillCommon(Request &request, const FilterControls &controls, const QString &mask)
{
    request.NMax = controls.nMax.toInt();
    request.TakeFirst1_Last0 = controls.whichGet;
    if (mask.isEmpty())
        return;
    const QByteArray latin1 = mask.toLatin1();
    CopyPtr(&request.SensorID, &request.LSensorID, latin1.constData(), int(latin1.size()) + 1);
    request.UseSensorID = 1;
}
} // namespace

void fillRequest(CMessageEventRequest &request, const FilterControls &controls, const QString &mask,
                 std::optional<int> idLast)
{
    fillCommon(request, controls, mask);
    request.MessageType = controls.type;
    request.UseMessageType = controls.type > 0 ? 1 : 0;
    request.EventTime0 = toRecordTime(controls.timeFrom);
    request.UseEventTime0 = controls.timeFromUsed ? 1 : 0;
    request.EventTime1 = toRecordTime(controls.timeTo);
    request.UseEventTime1 = controls.timeToUsed ? 1 : 0;
    if (!idLast)
        return;
    request.MessageID0 = *idLast + 1;
    request.UseMessageID0 = 1;
}

void fillRequest(CMessageCommandRequest &request, const FilterControls &controls, const QString &mask,
                 std::optional<int> idLast)
{
    fillCommon(request, controls, mask);
    request.CommandType = controls.type;
    request.UseCommandType = controls.type != 0 ? 1 : 0;
    request.CommandTime0 = toRecordTime(controls.timeFrom);
    request.UseCommandTime0 = controls.timeFromUsed ? 1 : 0;
    request.CommandTime1 = toRecordTime(controls.timeTo);
    request.UseCommandTime1 = controls.timeToUsed ? 1 : 0;
    if (!idLast)
        return;
    request.CommandID0 = *idLast + 1;
    request.UseCommandID0 = 1;
}
