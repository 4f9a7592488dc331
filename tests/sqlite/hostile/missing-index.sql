-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
DROP INDEX event_by_series;
