/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#pragma once

/**
 * @file
 * The codes that records carry, for C and for C++.
 */

/** Liveness of a sensor, as CSensor::MessageType carries it. Any other value: unknown. */
enum SensorLiveness { SensorAlive = 1, SensorDead = 2 };

/** Orders that the console issues, as CMessageCommand::CommandType carries them. */
enum CommandCode { CommandStart = 1, CommandStop = 2, CommandRestart = 3, CommandKill = 4 };

/** How CMessageEventParam::Val is to be read. Any other value shows as empty text. */
enum ParameterType { ParameterInteger = 1, ParameterDouble = 2, ParameterText = 3 };
