#include "core/process_services.h"

#include <gtest/gtest.h>

#include "core/version.h"
#include "support/test_world.h"

namespace vlmr::core {
namespace {

using test::World;
using Lines = std::vector<std::string>;

TEST(MyOSVersion, ComparesTheMajorVersionAsText) {
  World world;
  const ProcessServices services(world.runtime, world.system);
  for (const int major : {0, 1, 2, 3, 4, 10, 11, 12, 39}) {
    world.system.os_major_version = major;
    EXPECT_EQ(services.MyOSVersion(), "NT") << major;
  }
  for (const int major : {5, 6, 7, 8, 9, 40, 50}) {
    world.system.os_major_version = major;
    EXPECT_EQ(services.MyOSVersion(), "") << major;
  }
}

TEST(Impersonation, EndsOnlyWhereTheSystemAnswersNt) {
  World world;
  ProcessServices services(world.runtime, world.system);
  world.system.os_major_version = 6;
  services.EndImpersonation();
  EXPECT_TRUE(world.system.identity_calls.empty());
  world.system.os_major_version = 10;
  services.EndImpersonation();
  EXPECT_EQ(world.system.identity_calls, Lines{"end"});
}

TEST(Impersonation, PassesAccountPasswordAndDomainOn) {
  World world;
  ProcessServices services(world.runtime, world.system);
  services.StartImpersonation("updater", "secret", "OFFICE");
  EXPECT_EQ(world.system.identity_calls, Lines{"start updater/secret/OFFICE"});
  EXPECT_TRUE(world.LogMessages().empty());
}

TEST(ModuleList, IsInTheSystemsOrderAndOneEmptyTextWithoutModules) {
  World world;
  const ProcessServices services(world.runtime, world.system);
  world.system.loaded_modules = {"/app/VlMr", "/lib/b.so", "/lib/a.so"};
  EXPECT_EQ(services.ModuleList(), (Lines{"/app/VlMr", "/lib/b.so", "/lib/a.so"}));
  world.system.loaded_modules.clear();
  EXPECT_EQ(services.ModuleList(), Lines{""});
}

TEST(DependencyReport, HasAHeadingWithTheVersionAndOneLineForEachModule) {
  World world;
  ProcessServices services(world.runtime, world.system);
  world.system.loaded_modules = {"/app/VlMr", "/lib/a.so"};
  services.WriteDependencyReport();
  EXPECT_EQ(world.files.Text(R"(\PelgrunDLLs.txt)"),
            "===================================\r\n"
            "Dependencies for Pelgrun " +
                VersionText() +
                "\r\n"
                "===================================\r\n"
                "\r\n"
                "/app/VlMr\r\n"
                "/lib/a.so\r\n");
}

TEST(DependencyReport, IsOverwrittenEachTime) {
  World world;
  ProcessServices services(world.runtime, world.system);
  services.WriteDependencyReport();
  const std::string first = world.files.Text(R"(\PelgrunDLLs.txt)");
  services.WriteDependencyReport();
  EXPECT_EQ(world.files.Text(R"(\PelgrunDLLs.txt)"), first);
}

TEST(DependencyReport, ThatCannotBeWrittenIsNotReported) {
  World world;
  ProcessServices services(world.runtime, world.system);
  world.files.Fail(test::MemoryFileSystem::Operation::kAnyChange, "*", 70);
  EXPECT_NO_THROW(services.WriteDependencyReport());
  EXPECT_TRUE(world.form.statuses.empty());
}

}  // namespace
}  // namespace vlmr::core
