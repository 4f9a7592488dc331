// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

struct CMessageEvent;

/**
 * Selects events: each value counts only when its `Use...` switch is non-zero.
 *
 * NMax and TakeFirst1_Last0 say how many of the matching records are wanted
 * and from which end. The masks are owned (array new, array delete).
 */
struct CMessageEventRequest {
    int NMax = 0;             ///< most records wanted; 0 or less: none
    int TakeFirst1_Last0 = 0; ///< 1: the first (oldest) NMax, 0: the last (newest)
    int MessageID0 = 0;       ///< lowest identifier accepted
    int MessageID1 = 0;       ///< highest identifier accepted
    int UseMessageID0 = 0;
    int UseMessageID1 = 0;
    int MessageType = 0; ///< kind of message required
    int UseMessageType = 0;
    char *SensorID = nullptr; ///< mask for the sensor's name
    int LSensorID = 0;        ///< bytes in SensorID, the NUL counted
    int UseSensorID = 0;
    int SensorType = 0; ///< kind of sensor required
    int UseSensorType = 0;
    char *EventName = nullptr; ///< mask for the event's name
    int LEventName = 0;        ///< bytes in EventName, the NUL counted
    int UseEventName = 0;
    std::time_t EventTime0 = 0; ///< earliest time accepted
    int UseEventTime0 = 0;
    std::time_t EventTime1 = 0; ///< latest time accepted
    int UseEventTime1 = 0;

    CMessageEventRequest() = default;
    CMessageEventRequest(const CMessageEventRequest &other);
    ~CMessageEventRequest();

    /** Deep copy; copying onto itself changes nothing. Throws std::bad_alloc. */
    CMessageEventRequest &operator=(const CMessageEventRequest &other);

    /** Releases the masks; NMax becomes 100, every other field 0. */
    void clean();

    /**
     * 1 when the event passes every filter that is switched on, else 0. NMax
     * and TakeFirst1_Last0 take no part.
     *
     * Names are compared by WCompareNoCase(mask, name): the record's name is
     * the pattern. A NULL mask matches everything, a NULL name counts as empty.
     * Not thread-safe, as WCompareNoCase is not.
     */
    int operator&(const CMessageEvent &event) const;
};
