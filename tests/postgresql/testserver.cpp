// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "testserver.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <libpq-fe.h>
#include <memory>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
[[noreturn]] void die(const std::string &message)
{
    std::fprintf(stderr, "testserver: %s\n", message.c_str());
    std::abort();
}

/** The user that a server runs as. */
const passwd *serverUser()
{
    if (::geteuid() != 0)
        return nullptr;
    const passwd *user = ::getpwnam("postgres");
    if (!user)
        die("there is no user postgres, as Debian's package makes it");
    return user;
}

void becomeServerUser()
{
    if (const passwd *user = serverUser()) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(user->pw_gid) != 0 || ::setuid(user->pw_uid) != 0)
            ::_exit(126);
    }
}

struct ConnectionCloser {
    void operator()(PGconn *connection) const
    {
        PQfinish(connection);
    }
};
struct ResultCloser {
    void operator()(PGresult *result) const
    {
        PQclear(result);
    }
};
} // namespace

uid_t TestServer::userId()
{
    const passwd *user = serverUser();
    return user ? user->pw_uid : ::geteuid();
}

std::string TestServer::programs()
{
    std::vector<std::string> found;
    std::error_code none;
    for (const fs::directory_entry &version : fs::directory_iterator("/usr/lib/postgresql", none))
        if (fs::exists(version.path() / "bin/initdb"))
            found.push_back(version.path() / "bin");
    if (found.empty())
        die("there is no /usr/lib/postgresql/*/bin/initdb: install the package postgresql");
    return *std::max_element(found.begin(), found.end());
}

TestServer::TestServer(const std::vector<std::string> &settings)
{
    makeFolder();
    if (run({programs() + "/initdb", "-D", dataFolder(), "-A", "trust", "-U", "owner", "-E", "UTF8", "--no-locale",
             "--no-sync"}) != 0)
        die("initdb failed, see " + m_folder + "/log");
    configure({"listen_addresses = ''", "max_connections = 50", "shared_buffers = 32MB", "fsync = off",
               "log_min_messages = fatal"});
    configure({"unix_socket_directories = '" + m_socket + "'"});
    configure(settings);
}

TestServer::TestServer(const Standby &standby, const std::vector<std::string> &settings)
{
    makeFolder();
    if (run({programs() + "/pg_basebackup", "-D", dataFolder(), "-d",
             standby.of.connection() + " application_name=" + standby.name, "-R", "-X", "stream", "--no-sync", "-c",
             "fast"}) != 0)
        die("pg_basebackup failed, see " + m_folder + "/log");
    configure({"unix_socket_directories = '" + m_socket + "'"});
    configure(settings);
}

TestServer::~TestServer()
{
    if (isRunning())
        end(SIGQUIT);
    else
        removeSharedMemory();
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

void TestServer::makeFolder()
{
    // Short, as the path of a socket may have 107 bytes.
    std::string pattern = (fs::temp_directory_path() / "obrim-pg-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        die(pattern + ": " + std::strerror(errno));
    m_folder = pattern;
    m_socket = m_folder;
    if (const passwd *user = serverUser())
        if (::chown(m_folder.c_str(), user->pw_uid, user->pw_gid) != 0)
            die(m_folder + ": " + std::strerror(errno));
}

int TestServer::run(const std::vector<std::string> &command) const
{
    const pid_t child = ::fork();
    if (child == 0) {
        becomeServerUser();
        const int log = ::open((m_folder + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(log, STDOUT_FILENO);
        ::dup2(log, STDERR_FILENO);
        std::vector<char *> arguments;
        for (const std::string &argument : command)
            arguments.push_back(const_cast<char *>(argument.c_str()));
        arguments.push_back(nullptr);
        if (::chdir("/") == 0)
            ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

void TestServer::configure(const std::vector<std::string> &settings) const
{
    std::ofstream file(dataFolder() + "/postgresql.conf", std::ios::app);
    for (const std::string &line : settings)
        file << line << "\n";
    if (!file.flush())
        die("postgresql.conf cannot be written");
}

void TestServer::start()
{
    const pid_t parent = ::getpid();
    m_process = ::fork();
    if (m_process == 0) {
        becomeServerUser();
        // A group of its own, which signals can be sent to; and it ends with this program.
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGQUIT);
        if (::getppid() != parent)
            ::_exit(0);
        const int log = ::open((m_folder + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(log, STDOUT_FILENO);
        ::dup2(log, STDERR_FILENO);
        const std::string program = programs() + "/postgres";
        const std::string data = dataFolder();
        if (::chdir("/") == 0)
            ::execl(program.c_str(), program.c_str(), "-D", data.c_str(), nullptr);
        ::_exit(127);
    }
    ::setpgid(m_process, m_process);
    for (const std::string words = connection(); PQping(words.c_str()) != PQPING_OK;) {
        if (::waitpid(m_process, nullptr, WNOHANG) != 0)
            die("the server ended, see " + m_folder + "/log");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void TestServer::stop()
{
    end(SIGINT);
}

void TestServer::end(int how)
{
    // One that was stopped by a signal hears no other.
    signal(SIGCONT);
    ::kill(m_process, how);
    ::waitpid(m_process, nullptr, 0);
    m_process = 0;
}

/** What a server leaves in the system that was killed and is not started again. */
void TestServer::removeSharedMemory() const
{
    std::ifstream file(dataFolder() + "/postmaster.pid");
    const std::vector<std::string> words{std::istream_iterator<std::string>(file), {}};
    // The last two words but for the server's state: a key and an identifier.
    if (words.size() >= 3)
        ::shmctl(std::atoi(words[words.size() - 2].c_str()), IPC_RMID, nullptr);
}

void TestServer::kill()
{
    signal(SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    // Its children are gone a moment later; the next start would find their shared memory in use.
    while (::kill(-m_process, 0) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    m_process = 0;
}

void TestServer::signal(int number) const
{
    // Each process of the server makes itself the leader of a group of its own.
    const std::string parent = "PPid:\t" + std::to_string(m_process) + "\n";
    std::vector<pid_t> all = {m_process};
    for (const fs::directory_entry &entry : fs::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        std::string text;
        std::getline(status, text, '\0'); // of a process that ends meanwhile: what there was
        if (text.find(parent) != std::string::npos)
            all.push_back(std::atoi(entry.path().filename().c_str()));
    }
    for (const pid_t one : all)
        ::kill(one, number);
}

void TestServer::promote() const
{
    sql("SELECT pg_promote(true)");
}

std::string TestServer::connection(const std::string &database, const std::string &user) const
{
    return "host=" + m_socket + " dbname=" + database + " user=" + user;
}

std::string TestServer::freshDatabase()
{
    std::string name = "fresh" + std::to_string(++m_databases);
    sql("CREATE DATABASE " + name);
    return name;
}

std::string TestServer::sql(const std::string &statements, const std::string &database) const
{
    const std::unique_ptr<PGconn, ConnectionCloser> connection(
        PQconnectdb((this->connection(database) + " client_encoding=UTF8").c_str()));
    PQsetNoticeReceiver(
        connection.get(), [](void *, const PGresult *) {}, nullptr);
    const std::unique_ptr<PGresult, ResultCloser> result(PQexec(connection.get(), statements.c_str()));
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        die(statements + ": " + PQerrorMessage(connection.get()));
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

void TestServer::setAccess(const std::string &lines) const
{
    std::ofstream(dataFolder() + "/pg_hba.conf") << lines;
    sql("SELECT pg_reload_conf()");
}
