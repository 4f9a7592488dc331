// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/**
 * A PostgreSQL server of a test's own: in a folder of its own, reached through a
 * socket there and nowhere else. It ends with the program that started it, also
 * when that is killed. The server refuses root, so for root it runs as the user of
 * Debian's package. Faults end the program: no test can do without.
 */
class TestServer
{
public:
    /** Makes its files; start() starts it. `settings` are lines for postgresql.conf. */
    explicit TestServer(const std::vector<std::string> &settings = {});
    /** A copy of a server that runs, which follows it once started. */
    struct Standby {
        const TestServer &of;
        std::string name;
    };
    explicit TestServer(const Standby &standby, const std::vector<std::string> &settings = {});
    TestServer(const TestServer &) = delete;
    TestServer &operator=(const TestServer &) = delete;
    ~TestServer();

    /** Starts it and waits until it answers. */
    void start();
    /** Ends it as an administrator does: sessions are ended. */
    void stop();
    /** Ends it as a power failure does: nothing is put in order. */
    void kill();
    /** Sends a signal to all of its processes, such as SIGSTOP. */
    void signal(int number) const;
    /** Makes a standby a server of its own. */
    void promote() const;
    bool isRunning() const
    {
        return m_process > 0;
    }

    /** The folder of the socket: what a connection string's host= names. */
    const std::string &host() const
    {
        return m_socket;
    }
    std::string dataFolder() const
    {
        return m_folder + "/data";
    }
    /** A connection string for a database of it. */
    std::string connection(const std::string &database = "postgres", const std::string &user = "owner") const;
    /** Makes an empty database and returns its name. */
    std::string freshDatabase();
    /** Runs statements as the superuser and returns the first field of the last one's first row. */
    std::string sql(const std::string &statements, const std::string &database = "postgres") const;
    /** Writes pg_hba.conf, and the server reads it. */
    void setAccess(const std::string &lines) const;
    /** Whom the server's files belong to. */
    static uid_t userId();
    /** The folder with initdb and the others. */
    static std::string programs();

private:
    void makeFolder();
    int run(const std::vector<std::string> &command) const;
    void end(int how);
    void removeSharedMemory() const;
    void configure(const std::vector<std::string> &settings) const;

    std::string m_folder;
    std::string m_socket;
    pid_t m_process = 0;
    int m_databases = 0;
};
