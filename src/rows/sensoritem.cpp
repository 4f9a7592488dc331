// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensoritem.h"

#include "Messages.h"
#include "messagetext.h"

#include <KLocalizedString>

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
    switch (column) {
    case SensorIDColumn:
        return recordText(m_sensor.SensorID, m_sensor.LSensorID);
    case DescriptionColumn:
        return recordText(m_sensor.Description, m_sensor.LDescription);
    case AliveColumn:
        return aliveText(m_sensor.MessageType);
    default:
        return QString();
    }
}
