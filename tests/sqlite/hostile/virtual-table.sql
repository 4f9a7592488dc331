-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign trigger or virtual table
CREATE VIRTUAL TABLE foreign_index USING rtree(id, low, high);
