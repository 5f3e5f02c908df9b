#include <cctype>
#include <map>
#include <mutex>

#include "hosts/tavro/objects/objects_internal.h"

namespace tavro::objects_internal {

namespace {

// One lock per class of a data directory: the session that holds it, how many of its objects
// hold it, and whether the session keeps it without an object (a class it deleted or stored
// from XML and will save again). A lock whose session has ended is free.
struct Lock {
    std::weak_ptr<Session> owner;
    std::string user;
    int holders = 0;
    bool kept = false;
};

// Sessions run on the server's threads and objects go when a connection does: the table is
// shared and guarded.
std::mutex gMutex;
std::map<std::string, Lock> gLocks;

std::string KeyOf(Session& session, const std::string& className) {
    std::string key = DatabaseFileOf(*session.store) + '\n' + session.ns + '\n' + className;
    for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
}

// The server's own classes cannot be written by anybody, so nobody needs to lock them.
bool IsServerClass(const std::string& className) {
    return !className.empty() && className[0] == '%';
}

// The lock of `key` when `session` may use it, raising the refusal when another live session
// holds it.
Lock& UsableLock(const SessionRef& session, const std::string& key, const std::string& className) {
    Lock& lock = gLocks[key];
    std::shared_ptr<Session> owner = lock.owner.lock();
    if (owner && owner != session) Refuse("class " + className + " is locked by user " + lock.user);
    if (!owner) lock = Lock{session, session->user, 0, false};
    return lock;
}

void ForgetIfUnused(const std::string& key, const Lock& lock) {
    if (lock.holders <= 0 && !lock.kept) gLocks.erase(key);
}

// The locks of sessions that have ended, kept ones among them, are dropped as others are taken.
void ForgetEnded() {
    for (auto it = gLocks.begin(); it != gLocks.end();) {
        it = it->second.owner.expired() ? gLocks.erase(it) : std::next(it);
    }
}

}  // namespace

void TakeClassLock(const SessionRef& session, const std::string& className) {
    if (className.empty() || IsServerClass(className)) return;
    std::string key = KeyOf(*session, className);
    std::lock_guard<std::mutex> guard(gMutex);
    ForgetEnded();
    ++UsableLock(session, key, className).holders;
}

void DropClassLock(const SessionRef& session, const std::string& className) {
    if (className.empty() || IsServerClass(className)) return;
    std::string key = KeyOf(*session, className);
    std::lock_guard<std::mutex> guard(gMutex);
    auto it = gLocks.find(key);
    if (it == gLocks.end() || it->second.owner.lock() != session) return;
    --it->second.holders;
    ForgetIfUnused(key, it->second);
}

void KeepClassLock(const SessionRef& session, const std::string& className, bool keep) {
    if (className.empty() || IsServerClass(className)) return;
    std::string key = KeyOf(*session, className);
    std::lock_guard<std::mutex> guard(gMutex);
    auto it = gLocks.find(key);
    if (it == gLocks.end() || it->second.owner.lock() != session) return;
    it->second.kept = keep;
    ForgetIfUnused(key, it->second);
}

}  // namespace tavro::objects_internal
