#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "hosts/tavro/store/store.h"
#include "tests/tavro/tavro_test_util.h"

namespace {

// Version k of Shop.Order: k % 7 + 1 properties, every part marked with k, so that a
// definition mixed from two saves shows.
tavro::ClassDef Version(int k) {
    tavro::ClassDef def;
    def.name = "Shop.Order";
    def.values["Description"] = std::to_string(k);
    for (int i = 0; i <= k % 7; ++i) {
        tavro::Item prop;
        prop.name = "P" + std::to_string(i);
        prop.values["Description"] = std::to_string(k);
        def.properties.push_back(prop);
    }
    return def;
}

// Saves version after version, reporting each committed version on `out`, until killed.
[[noreturn]] void SaveForever(const std::string& dir, int out) {
    auto store = tavro::OpenStore(dir);
    for (int k = 1;; ++k) {
        tavro::SaveClass(*store, "USER", Version(k), tavro::Actor{"dev"}, /*replace=*/true);
        if (write(out, &k, sizeof k) != sizeof k) _exit(1);
    }
}

TEST(SaveClass, SurvivesTheHostBeingKilledAtAnyMoment) {
    tavro_test::DataDir dir;
    std::mt19937 random(12345);
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(round);
        int pipeEnds[2];
        ASSERT_EQ(pipe(pipeEnds), 0);
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(pipeEnds[0]);
            SaveForever(dir.path(), pipeEnds[1]);
        }
        close(pipeEnds[1]);
        int committed = 0;
        ASSERT_EQ(read(pipeEnds[0], &committed, sizeof committed),
                  static_cast<ssize_t>(sizeof committed));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        int last = committed;
        while (read(pipeEnds[0], &committed, sizeof committed) ==
               static_cast<ssize_t>(sizeof committed)) {
            last = committed;
        }
        close(pipeEnds[0]);

        auto store = tavro::OpenStore(dir.path());
        tavro::ClassDef def;
        ASSERT_TRUE(tavro::LoadClass(*store, "USER", "Shop.Order", def));
        int version = std::stoi(def.values["Description"]);
        EXPECT_GE(version, last);  // a reported save is never lost
        EXPECT_LE(version, last + 1);
        ASSERT_EQ(def.properties.size(), static_cast<std::size_t>(version % 7 + 1));
        for (const tavro::Item& prop : def.properties)
            EXPECT_EQ(prop.values.at("Description"), def.values["Description"]);
    }
}

}  // namespace
