// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

class QString;
struct CMessageEventParam;

/**
 * One command that was issued to a sensor.
 *
 * SensorID and the parameter array are owned (array new, array delete).
 * Without a text the pointer is NULL and the length 0.
 */
struct CMessageCommand {
    int MessageType = 0;               ///< kind of message
    char *SensorID = nullptr;          ///< name of the target sensor
    int LSensorID = 0;                 ///< bytes in SensorID, the NUL counted
    int CommandID = 0;                 ///< identifier in the store
    int CommandType = 0;               ///< a CommandCode
    std::time_t CommandTime = 0;       ///< time of issue, seconds since the Unix epoch
    int ParNum = 0;                    ///< entries in par
    CMessageEventParam *par = nullptr; ///< the parameters, or NULL

    CMessageCommand() = default;
    CMessageCommand(const CMessageCommand &other);
    ~CMessageCommand();

    /** Deep copy, with the parameters treated as those of CMessageEvent. Throws std::bad_alloc. */
    CMessageCommand &operator=(const CMessageCommand &other);

    /** Releases all that the record owns and zeroes every field. */
    void clean();

    /**
     * Fills a command for sending: kind, a copy of the target's name, order,
     * and the current time. CommandID and the parameters stay as they are.
     */
    void Set(int messageType, const char *sensorId, int commandType);

    /** As CMessageEvent::AllocateStrings, for SensorID and the parameters. */
    void AllocateStrings();
    /** Calls AllocateStrings of every parameter. */
    void AllocateParameters();

    /** All parameters as "name=value;name=value"; empty when there are none. */
    QString AllParameters() const;
};
