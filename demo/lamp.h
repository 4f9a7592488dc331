// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** A red signal lamp, 32 x 32 pixels, as the bytes of a 24-bit bitmap: what marks the base of an installation. */
std::string lampPicture();
