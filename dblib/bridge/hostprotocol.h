// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * What a host and whoever starts it agree on, besides the messages. The host
 * gets four arguments: the process identifier of the one that starts it, the
 * megabytes of address space that it may use, the library, and the library's
 * function-name map.
 */

/** Where a host finds its end of the channel. */
constexpr int HostDescriptor = 3;

/** Set in the environment of a host: a bridge inside a host would go round in circles. */
constexpr char HostMark[] = "OBRIM_DBLIB_HOST";

/** Exit status of a host whose connection is gone. */
constexpr int HostLostConnection = 71;
