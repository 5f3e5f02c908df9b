// What the tests of every folder share: temporary folders, whole files, the sample models
// beside the repository, and the user that test servers are made with.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace testsupport {

// The user and password of the data directories that tests make.
inline constexpr const char* kTestUser = "dev";
inline constexpr const char* kTestPassword = "dev-secret";

// A new folder under the system's temporary directory that only its owner can enter, removed
// with everything in it when the value goes.
class TempDir {
  public:
    explicit TempDir(std::string_view prefix = "corvansil-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(std::string_view name) const;

  private:
    std::string path_;
};

// A new folder like TempDir's that stays until the test program ends; for a test whose
// folder must outlive a scope (a server still writing in it).
std::string MakeTempDir(std::string_view prefix = "corvansil-test");

// The whole file as bytes; "" when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);
// Writes `bytes` as the whole file, raising std::runtime_error when it cannot.
void WriteFile(const std::filesystem::path& path, std::string_view bytes);
// Copies a folder with everything in it and makes the copy writable (the samples are not).
void CopyTree(const std::string& from, const std::string& to);

// The sample folder (CORVANSIL_SAMPLES_DIR at configure time), or "" when this checkout has
// none: tests that need it skip.
std::string SamplesDir();

// A class as the server keeps it: two properties, two methods, and the parts that the model
// never shows (an index, a query, a class parameter, storage).
inline constexpr const char* kOrderClassXml = R"(<?xml version="1.0" encoding="UTF-8"?>
<Class name="Shop.Order">
  <Description>Orders</Description>
  <super>%Persistent</super>
  <Property name="Total">
    <Type>%Integer</Type>
    <Parameter name="MAXVAL">100</Parameter>
  </Property>
  <Property name="Obsolete">
    <Type>%String</Type>
  </Property>
  <Method name="Recalc">
    <Implementation>  quit ..Total * 2</Implementation>
  </Method>
  <Method name="Old"/>
  <Index name="ByTotal">
    <Properties>Total</Properties>
  </Index>
  <Query name="Big">
    <SqlQuery>SELECT ID FROM Shop.Order WHERE Total &gt; 50</SqlQuery>
  </Query>
  <ClassParameter name="VERSION">
    <Default>3</Default>
  </ClassParameter>
  <Storage name="Default">
    <DataLocation>^Shop.OrderD</DataLocation>
  </Storage>
</Class>
)";

}  // namespace testsupport
