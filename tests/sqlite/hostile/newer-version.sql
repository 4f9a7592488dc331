-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database has version 1000, this program knows versions up to
PRAGMA user_version = 1000;
