// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensoritem.h"

#include "Messages.h"
#include "parametertext.h"

#include <KLocalizedString>
#include <algorithm>

static QString aliveText(int liveness)
{
    switch (liveness) {
    case SensorAlive:
        return tr2i18n("Is Alive");
    case SensorDead:
        return tr2i18n("IsDead");
    default:
        return QString();
    }
}

SensorItem::SensorItem(const CSensor &sensor)
    : m_sensor(sensor)
{
}

QString SensorItem::text(int column) const
{
    return column == AliveColumn ? aliveText(m_sensor.MessageType) : latin1(column);
}

QLatin1String SensorItem::latin1(int column, int most) const
{
    std::string_view text;
    if (column == SensorIDColumn)
        text = recordBytes(m_sensor.SensorID, std::min(most, m_sensor.LSensorID));
    else if (column == DescriptionColumn)
        text = recordBytes(m_sensor.Description, std::min(most, m_sensor.LDescription));
    return QLatin1String(text.data(), int(text.size()));
}
