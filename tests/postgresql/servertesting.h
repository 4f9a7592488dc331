// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file What the tests of the PostgreSQL library share: one server a program, a database a test. */

#include "postgresstore.h"
#include "settings.h"
#include "storetesting.h"
#include "testserver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

/** Waits for a condition; only a test that fails waits for the limit. */
template <class Condition> bool eventually(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(4);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

/** A server that runs, and an empty database on it. */
class ServerTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_server = std::make_unique<TestServer>();
        s_server->start();
    }
    static void TearDownTestSuite()
    {
        s_server.reset();
    }
    void SetUp() override
    {
        m_database = server().freshDatabase();
    }
    static TestServer &server()
    {
        return *s_server;
    }
    /** How the database is reached, by another user or with further words if need be. */
    std::string connection(const std::string &user = "owner", const std::string &more = {}) const
    {
        return server().connection(m_database, user) + (more.empty() ? "" : " " + more);
    }
    static Settings settings(const std::string &connection)
    {
        Settings settings;
        settings.connection = connection;
        settings.connectSeconds = 20;
        settings.statementSeconds = 60;
        return settings;
    }
    std::unique_ptr<PostgresStore> openStore() const
    {
        auto store = std::make_unique<PostgresStore>(settings(connection()));
        store->open();
        return store;
    }
    /** A value of the test's database. */
    std::string value(const std::string &sql) const
    {
        return server().sql(sql, m_database);
    }

    std::string m_database;

private:
    inline static std::unique_ptr<TestServer> s_server;
};
