// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

struct CMessageCommandRequest;
struct CMessageEventRequest;

/** What the filter controls of a list window say. */
struct FilterControls {
    QString nMax;      ///< as typed; asks for 0 records when it is no decimal number or out of range
    int whichGet = -1; ///< id of the checked button: 0 last, 1 first, -1 none
    int type = -1;     ///< id of the checked button: 0 all, then the kinds, -1 none
    QDateTime timeFrom;
    bool timeFromUsed = false;
    QDateTime timeTo;
    bool timeToUsed = false;
};

/**
 * Fills a default-constructed request from the controls.
 *
 * `mask` selects the sensor's name, empty: any; it is handed on as Latin-1.
 * With `idLast` only records above that identifier are asked for; it must not
 * be the largest there is.
 *
 * The kind goes into MessageType. Without a checked kind there is no such
 * filter. Throws std::bad_alloc.
 */
void fillRequest(CMessageEventRequest &request, const FilterControls &controls, const QString &mask,
                 std::optional<int> idLast = std::nullopt);

/**
 * The same for commands. The kind goes into CommandType, and without a checked
 * kind commands of type -1 are asked for.
 */
void fillRequest(CMessageCommandRequest &request, const FilterControls &controls, const QString &mask,
                 std::optional<int> idLast = std::nullopt);
