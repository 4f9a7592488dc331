// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

struct CMessageCommand;

/**
 * Selects commands: each value counts only when its `Use...` switch is
 * non-zero. The order of the fields is not that of CMessageEventRequest.
 */
struct CMessageCommandRequest {
    int NMax = 0;             ///< most records wanted; 0 or less: none
    int TakeFirst1_Last0 = 0; ///< 1: the first (oldest) NMax, 0: the last (newest)
    int MessageType = 0;      ///< kind of message required
    int UseMessageType = 0;
    char *SensorID = nullptr; ///< mask for the sensor's name, owned
    int LSensorID = 0;        ///< bytes in SensorID, the NUL counted
    int UseSensorID = 0;
    int CommandID0 = 0; ///< lowest identifier accepted
    int CommandID1 = 0; ///< highest identifier accepted
    int UseCommandID0 = 0;
    int UseCommandID1 = 0;
    int CommandType = 0; ///< order required
    int UseCommandType = 0;
    std::time_t CommandTime0 = 0; ///< earliest time accepted
    int UseCommandTime0 = 0;
    std::time_t CommandTime1 = 0; ///< latest time accepted
    int UseCommandTime1 = 0;

    CMessageCommandRequest() = default;
    CMessageCommandRequest(const CMessageCommandRequest &other);
    ~CMessageCommandRequest();

    /** Deep copy; copying onto itself changes nothing. Throws std::bad_alloc. */
    CMessageCommandRequest &operator=(const CMessageCommandRequest &other);

    /** Releases the mask; NMax becomes 100, every other field 0. */
    void clean();

    /** 1 when the command passes every filter that is switched on, else 0; see CMessageEventRequest. */
    int operator&(const CMessageCommand &command) const;
};
