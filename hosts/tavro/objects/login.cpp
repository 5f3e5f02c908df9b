// What a login leaves behind: the account a session is bound to, and the count of failures
// that slows down guessing.
#include <cstdio>
#include <iostream>

#include "hosts/tavro/objects/objects.h"

namespace tavro {

namespace {

using Clock = std::chrono::steady_clock;

// Failures answered at once; each one after waits twice as long as the one before, up to
// kLongestWait.
constexpr int kFreeFailures = 3;
constexpr std::chrono::milliseconds kFirstWait{250};
constexpr std::chrono::milliseconds kLongestWait{8000};
// A count without a failure for this long starts again from nothing.
constexpr std::chrono::minutes kForgetAfter{15};
// Names and addresses remembered at most, so that guessing names cannot fill the memory.
constexpr std::size_t kMaxCounts = 4096;

// Counts one more failure of `key`; returns the count.
int CountFailure(std::map<std::string, LoginGuard::Count>& counts, const std::string& key,
                 Clock::time_point now) {
    if (counts.size() >= kMaxCounts && counts.find(key) == counts.end()) {
        auto oldest = counts.begin();
        for (auto it = counts.begin(); it != counts.end(); ++it) {
            if (it->second.last < oldest->second.last) oldest = it;
        }
        counts.erase(oldest);
    }
    LoginGuard::Count& count = counts[key];
    if (now - count.last > kForgetAfter) count.failures = 0;
    count.last = now;
    return ++count.failures;
}

// A user name as the log shows it: what a client sent, so without control characters and
// of bounded length.
std::string Printable(const std::string& text) {
    std::string out;
    for (char c : text.substr(0, 64)) out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    return out;
}

std::string Lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

}  // namespace

Store& SessionStore::operator*() const {
    if (AccountKey(*db, user) != account) {
        throw StoreError("access denied: the account of user " + user +
                         " no longer exists; log in again");
    }
    return *db;
}

std::chrono::milliseconds LoginGuard::Failed(const std::string& user, const std::string& address) {
    std::lock_guard lock(mutex_);
    auto now = Clock::now();
    int failures =
        std::max(CountFailure(users_, Lower(user), now), CountFailure(addresses_, address, now));
    if (failures <= kFreeFailures) return std::chrono::milliseconds(0);
    int doublings = std::min(failures - kFreeFailures - 1, 16);
    auto wait = std::min(kLongestWait, kFirstWait * (1 << doublings));
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g", static_cast<double>(wait.count()) / 1000.0);
    std::cerr << "tavro-host: failed login " << failures << " in a row for user '"
              << Printable(user) << "' or from " << (address.empty() ? "this process" : address)
              << "; answering after " << seconds << " s" << std::endl;
    return wait;
}

void LoginGuard::Succeeded(const std::string& user) {
    std::lock_guard lock(mutex_);
    users_.erase(Lower(user));
}

}  // namespace tavro
