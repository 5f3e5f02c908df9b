// A corvansil-cli run in one process: rose-host's model (the shop example, or a new empty one)
// as the running modelling tool, a tavro-host data directory behind the real client factory,
// and the connection given through the environment as a script would give it. Built inside
// each test; everything is put back when it goes.
#pragma once

#include <memory>
#include <sstream>
#include <string>

#include "cli/cli.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/store/store.h"
#include "tests/support/support.h"

namespace cli_test {

class CliWorld {
  public:
    CliWorld();
    ~CliWorld();
    CliWorld(const CliWorld&) = delete;
    CliWorld& operator=(const CliWorld&) = delete;

    // Serves examples/shop.mdl, with the property defaults of an installed add-in unless told
    // otherwise (a modelling tool that did not load the property file); false when it cannot
    // be read.
    bool ServeShop(bool withDefaults = true);
    // Serves the model file `path` the same way.
    bool ServeFile(const std::string& path, bool withDefaults = true);
    // Serves a new, never saved model.
    void ServeEmptyModel();
    // No modelling tool answers any more.
    void StopRose() { roseRunning_ = false; }

    // Runs the command line `args` (after the program name) as corvansil-cli does; `out` and
    // `err` keep what it printed.
    int Run(const std::vector<std::string>& args);

    // The class of the served model with that name, or nullptr.
    std::shared_ptr<rosehost::Class> FindClass(const std::string& name) const;
    // The stored definition; false when there is none.
    bool Load(const std::string& className, tavro::ClassDef& def) const;

    std::shared_ptr<rosehost::Model> model;
    std::shared_ptr<rosehost::Host> host;
    testsupport::TempDir dataTemp{"cli-test"};
    std::string dataDir = dataTemp.path();
    std::string out;
    std::string err;

  private:
    bool roseRunning_ = true;
};

// The lines of `text` that start with `prefix`.
std::vector<std::string> LinesStartingWith(const std::string& text, const std::string& prefix);

}  // namespace cli_test
