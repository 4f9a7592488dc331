// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * The DB libraries that the tests load: some keep the contract, each of the
 * others breaks it in one way. tests/support/CMakeLists.txt lists them by name.
 *
 * A test links the target `contractlibraries`. The library NAME is then the
 * file ContractLibraries + "/NAME/DBLib.a", built before the test; the folder
 * can be given to LoadDLL, or be linked to as the `Libs` of an installation.
 * The library "renamed" needs ContractLibraries + "/renamed/Funs.def" as the
 * function-name map.
 *
 * All hold the same records (contractstore.cpp). Each Init function fills its
 * store anew, so that a test starts from the same contents although a library
 * is never unloaded.
 *
 * Where the environment variable OBRIM_CALL_LOG names a file, each call
 * appends one line to it:
 *
 *     FInitDBEvents DIRECTORY
 *     FDBGetSensors query | fetch | release
 *     FDBGetEvents query
 *     FDBGetEvents fetch last 100 type=2 sensor=sensor1 id>=3 id<=9 time>=1 time<=2
 *     FDBGetEvents release last 100 ...
 *     FDBPutCommand type=1 sensor=sensor1 command=4
 *     FDBPutEvent sensor=sensor1 name=started
 *     FDBDeleteEvent 7
 *
 * A request shows NMax and the values whose switch is on. A release that does
 * not bring back the array given out shows "release-null" or "release-strange".
 */

/** The folder that holds a folder for each library. */
constexpr const char *ContractLibraries = OBRIM_CONTRACT_LIBRARIES;

/** Names the file that the libraries write their calls to. */
constexpr const char *ContractCallLog = "OBRIM_CALL_LOG";

constexpr int ContractSensors = 3;  ///< sensor1 (alive), sensor2 (dead), sensor3 (unknown)
constexpr int ContractEvents = 5;   ///< identifiers 1 to 5, alternately of sensor1 and sensor2
constexpr int ContractCommands = 4; ///< identifiers 11 to 14, of types 1 to 4
