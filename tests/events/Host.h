#pragma once
// A host that serves nothing by itself: a test says which generator works when. Keeps who is installed.
#include <UT/UT_NetSocket.h>
#include <events/FS_ServerSocketListener.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../support/Network.h"

class Listeners : public testing::Test {
protected:
    Listeners() {
        current = this;
        FS_EventGenerator::setInstaller(install);
    }
    ~Listeners() override {
        while (!installed.empty()) delete installed.back();
        FS_EventGenerator::setInstaller(nullptr);
    }

    // A service on a free port; its messages go to `messages` and then to `answer`.
    FS_ServerSocketListener* serve(const char* mask = nullptr) {
        return FS_ServerSocketListener::createSocketListener(0, take, this, mask, false);
    }
    static void take(void* data, const char* text, int length, UT_NetSocket& socket) {
        auto& self = *static_cast<Listeners*>(data);
        self.messages.emplace_back(text, static_cast<std::size_t>(length));
        if (self.answer) self.answer(socket, text);
    }
    // A client that the service has taken, unless it refused it.
    Client connect(FS_ServerSocketListener& service) {
        Client client(service.getPort());
        EXPECT_TRUE(client.isConnected() && comes(service.getFileDescriptor()));
        EXPECT_TRUE(service.areEventsWaiting());
        EXPECT_EQ(service.processEvents(), 1);
        return client;
    }
    // A line of a client goes through its connection.
    void serveText(const Client& client, FS_EventGenerator& listener) {
        messages.clear();
        EXPECT_TRUE(client.send("text\n") && comes(listener.getFileDescriptor()));
        EXPECT_EQ(listener.processEvents(), 1);
        EXPECT_EQ(messages, std::vector<std::string>{"text\n"});
    }
    bool isInstalled(const FS_EventGenerator* generator) const {
        return std::find(installed.begin(), installed.end(), generator) != installed.end();
    }

    std::vector<FS_EventGenerator*> installed;
    int removals = 0;
    std::vector<std::string> messages;
    std::function<void(UT_NetSocket&, const char*)> answer;

private:
    static int install(FS_EventGenerator* generator, int flag) {
        auto& all = current->installed;
        if (flag) {
            all.push_back(generator);
        } else {
            std::erase(all, generator);
            ++current->removals;
            EXPECT_EQ(generator->getFileDescriptor(), -1);
        }
        return 7;
    }
    static inline Listeners* current = nullptr;
};
