-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
ALTER TABLE event ADD COLUMN foreign_text AS (hex(zeroblob(400000000)));
