#include <dlfcn.h>
#include <gtest/gtest.h>

#include <exception>
#include <kq/error.hpp>
#include <string>
#include <type_traits>
#include <utility>
#include <zu/os.hpp>

namespace {

static_assert(std::is_nothrow_copy_constructible_v<KQError>);
static_assert(std::is_nothrow_copy_assignable_v<KQError>);

TEST(KQErrorTest, ReturnsItsParts) {
  const KQError error("Module", "method", "It failed.", "file.cpp", 12);

  EXPECT_EQ(error.getModule(), "Module");
  EXPECT_EQ(error.getMethod(), "method");
  EXPECT_EQ(error.getDescription(), "It failed.");
  EXPECT_STREQ(error.getFile(), "file.cpp");
  EXPECT_EQ(error.getLine(), 12);
}

TEST(KQErrorTest, NoFileStaysNull) {
  const KQError error("Module", "method", "It failed.", nullptr, 0);

  EXPECT_EQ(error.getFile(), nullptr);
  EXPECT_EQ(error.getLine(), 0);
}

TEST(KQErrorTest, WhatJoinsModuleMethodAndDescription) {
  EXPECT_STREQ(KQError("Module", "method", "It failed.", nullptr, 7).what(),
               "Module::method: It failed.");
}

TEST(KQErrorTest, WhatEndsWithFileAndLineWhenThereIsAFile) {
  EXPECT_STREQ(KQError("Module", "method", "It failed.", "file.cpp", 12).what(),
               "Module::method: It failed. (file.cpp:12)");
}

TEST(KQErrorTest, CopiesTheFileText) {
  std::string file = "file.cpp";
  const KQError error("Module", "method", "It failed.", file.c_str(), 12);

  file = "changed!";

  EXPECT_STREQ(error.getFile(), "file.cpp");
}

TEST(KQErrorTest, TextsOutliveTheErrorInItsCopy) {
  auto error = std::make_unique<KQError>("Module", "method", "It failed.", "file.cpp", 12);
  const std::string& module = error->getModule();
  const KQError copy = *error;

  error.reset();

  EXPECT_EQ(&module, &copy.getModule());
  EXPECT_STREQ(copy.what(), "Module::method: It failed. (file.cpp:12)");
}

TEST(KQErrorTest, AssignmentTakesEverything) {
  KQError error("Module", "method", "It failed.", nullptr, 0);

  error = KQError("Other", "operation", "It broke.", "other.cpp", 3);

  EXPECT_EQ(error.getModule(), "Other");
  EXPECT_STREQ(error.what(), "Other::operation: It broke. (other.cpp:3)");
}

TEST(KQErrorTest, MovedFromErrorIsStillWhole) {
  KQError error("Module", "method", "It failed.", nullptr, 0);

  const KQError taken = std::move(error);

  EXPECT_EQ(error.getModule(), "Module");  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(taken.getModule(), "Module");
}

TEST(KQErrorTest, OutlivesTheLibraryThatThrewIt) {
  void* library = zu::os::dlopen(GUEST_LIBRARY, -1);
  ASSERT_NE(library, nullptr) << zu::os::dlerror();
  const auto throwError = reinterpret_cast<void (*)()>(zu::os::dlsym(library, "throwError"));
  std::exception_ptr thrown;
  try {
    throwError();
  } catch (...) {
    thrown = std::current_exception();
  }

  ASSERT_EQ(zu::os::dlclose(library), 0);
  ASSERT_EQ(::dlopen(GUEST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still mapped";

  try {
    std::rethrow_exception(std::exchange(thrown, nullptr));
  } catch (const KQError& error) {
    const KQError copy = error;
    EXPECT_STREQ(copy.what(),
                 "Guest::throwError: The guest has failed. (a/file/of/the/guest.cpp:7)");
    EXPECT_STREQ(copy.getFile(), "a/file/of/the/guest.cpp");
  }
}

}  // namespace
