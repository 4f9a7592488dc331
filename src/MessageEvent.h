// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

class QString;
struct CMessageEventParam;

/**
 * One event that a sensor reported.
 *
 * Texts and the parameter array are owned (array new, array delete). Without
 * a text the pointer is NULL and the length 0.
 */
struct CMessageEvent {
    int MessageType = 0;               ///< kind of message, compared exactly by filters
    char *SensorID = nullptr;          ///< name of the sensor that raised the event
    int LSensorID = 0;                 ///< bytes in SensorID, the NUL counted
    int MessageID = 0;                 ///< identifier in the store
    int SensorType = 0;                ///< kind of the sensor
    char *EventName = nullptr;         ///< name of the event
    int LEventName = 0;                ///< bytes in EventName, the NUL counted
    std::time_t EventTime = 0;         ///< seconds since the Unix epoch
    int ParNum = 0;                    ///< entries in par
    CMessageEventParam *par = nullptr; ///< the parameters, or NULL

    CMessageEvent() = default;
    CMessageEvent(const CMessageEvent &other);
    ~CMessageEvent();

    /**
     * Deep copy; copying onto itself changes nothing. The parameter array is
     * kept and its elements assigned when both counts agree, else replaced.
     * Throws std::bad_alloc; the record is then releasable, its content mixed.
     */
    CMessageEvent &operator=(const CMessageEvent &other);

    /** Releases all that the record owns and zeroes every field. */
    void clean();

    /**
     * Replaces each text by a buffer of its length field + 1 bytes, contents
     * undefined (NULL for a length of 0 or less), and the parameters by ParNum
     * default ones: for a receiver that is told the lengths first.
     */
    void AllocateStrings();
    /** Calls AllocateStrings of every parameter. */
    void AllocateParameters();

    /** All parameters as "name=value;name=value"; empty when there are none. */
    QString AllParameters() const;
};
