// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listviewitem.h"

struct CSensor;

/** Columns of the list of sensors. */
enum SensorColumns { SensorIDColumn, DescriptionColumn, AliveColumn, SensorColumnCount };

/** The row of one sensor; refers to the record, which must outlive it. */
class SensorItem : public QListViewItem
{
public:
    explicit SensorItem(const CSensor &sensor);

    QString text(int column) const override;
    QLatin1String latin1(int column, int most = INT_MAX) const override;

private:
    const CSensor &m_sensor;
};
