// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "store.h"

Store::~Store() = default;

std::unique_ptr<Records<CSensor>> Store::sensors(int deadAfter)
{
    return recordsOf(storedSensors(), deadAfter);
}

int Store::put(const CMessageEvent &event)
{
    return putEvent(messageOf(event, m_writer));
}

int Store::put(const CMessageCommand &command)
{
    return putCommand(messageOf(command, m_writer));
}

Store::Batch::Batch(Store &changed)
    : m_store(changed)
    , m_outermost(!changed.m_inBatch)
{
    if (m_outermost) {
        m_store.begin();
        m_store.m_inBatch = true;
    }
}

Store::Batch::~Batch()
{
    if (!m_outermost)
        return;
    m_store.m_inBatch = false;
    if (!m_committed)
        m_store.rollBack();
}

void Store::Batch::commit()
{
    if (m_outermost) {
        m_store.commit();
        m_committed = true;
    }
}
