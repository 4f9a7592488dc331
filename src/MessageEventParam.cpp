// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageEventParam.h"

#include "Messages.h"
#include "recordparts.h"

CMessageEventParam::CMessageEventParam(const CMessageEventParam &other)
    : CMessageEventParam()
{
    *this = other;
}

CMessageEventParam::~CMessageEventParam()
{
    clean();
}

CMessageEventParam &CMessageEventParam::operator=(const CMessageEventParam &other)
{
    if (this == &other)
        return *this;
    Type = other.Type;
    CopyPtr(&Name, &LName, other.Name, other.LName);
    CopyPtr(&Val, &LVal, other.Val, other.LVal);
    return *this;
}

void CMessageEventParam::clean()
{
    RecordParts::release(Name, LName);
    RecordParts::release(Val, LVal);
    Type = 0;
}

void CMessageEventParam::AllocateStrings()
{
    RecordParts::allocateIfAny(Name, LName);
    RecordParts::allocateIfAny(Val, LVal);
}
