// The example hosts, each with 500 connections at once. EVENT_HOSTS are those that are built.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <vector>

#include "../support/Network.h"

TEST(HostProgram, Serves500Connections) {
    for (const char* const program : {EVENT_HOSTS}) {
        SCOPED_TRACE(program);
        int out[2];
        ASSERT_EQ(::pipe(out), 0);
        const pid_t host = ::fork();
        if (host == 0) {
            ::dup2(out[1], STDOUT_FILENO);
            ::execl(program, program, nullptr);
            ::_exit(127);
        }
        ::close(out[1]);
        char line[16] = "";
        EXPECT_GT(::read(out[0], line, sizeof line - 1), 0);
        std::vector<Client> clients;
        for (int i = 0; i < 500; ++i) clients.emplace_back(std::atoi(line));
        for (const char* const half : {"begun ", "ended\n"})
            for (const Client& client : clients) EXPECT_TRUE(client.send(half));
        for (std::size_t i = 0; i < clients.size(); ++i) EXPECT_EQ(clients[i].receive(12), "begun ended\n") << i;
        clients.clear();
        EXPECT_TRUE(Client(std::atoi(line)).isConnected());
        ::kill(host, SIGTERM);
        int status = 0;
        ::waitpid(host, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
        ::close(out[0]);
    }
}
