// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

/**
 * A sensor's keep-alive message. The console never creates one; the record is
 * part of the boundary for those who exchange it beside the console.
 */
struct CMessageKeepAlive {
    int MessageType = 0;       ///< kind of message
    char *SensorID = nullptr;  ///< name of the sensor; array new
    int LSensorID = 0;         ///< bytes in SensorID, the NUL counted
    int SensorType = 0;        ///< kind of the sensor
    std::time_t EventTime = 0; ///< time of the keep-alive, seconds since the Unix epoch

    CMessageKeepAlive() = default;
    CMessageKeepAlive(const CMessageKeepAlive &other);
    ~CMessageKeepAlive();

    /** Deep copy; the old SensorID is released. Throws std::bad_alloc. */
    CMessageKeepAlive &operator=(const CMessageKeepAlive &other);

    /** Does nothing: SensorID stays with whoever filled the record, and is theirs to release. */
    void clean();
};
