// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

/**
 * One monitored sensor.
 *
 * Both texts are owned (array new, array delete). Without a text the pointer
 * is NULL and the length 0.
 */
struct CSensor {
    int SensorType = 0;          ///< kind of the sensor
    char *SensorID = nullptr;    ///< name of the sensor
    int LSensorID = 0;           ///< bytes in SensorID, the NUL counted
    char *Description = nullptr; ///< free text
    int LDescription = 0;        ///< bytes in Description, the NUL counted
    int MessageType = 0;         ///< a SensorLiveness; any other value: unknown
    std::time_t EventTime = 0;   ///< time of the last message, seconds since the Unix epoch
    int Status = 0;              ///< reserved: neither copied, cleared nor read by the console

    CSensor() = default;
    CSensor(const CSensor &other);
    ~CSensor();

    /** Deep copy without Status; copying onto itself changes nothing. Throws std::bad_alloc. */
    CSensor &operator=(const CSensor &other);

    /** Releases both texts and zeroes every field but Status. */
    void clean();

    /**
     * Replaces both texts by buffers of length + 1 bytes, contents undefined,
     * also where the length is 0: for a receiver that is told the lengths first.
     */
    void AllocateStrings();
};
