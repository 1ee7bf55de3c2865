#include <gtest/gtest.h>

#include <functional>
#include <kq/error.hpp>
#include <kq/value.hpp>
#include <string>
#include <type_traits>
#include <utility>

namespace {

static_assert(std::is_nothrow_move_constructible_v<KQValue>);
static_assert(std::is_nothrow_move_assignable_v<KQValue>);

std::string errorOf(const std::function<void()>& access) {
  try {
    access();
  } catch (const KQError& error) {
    EXPECT_EQ(error.getModule(), "KQValue");
    EXPECT_EQ(error.getFile(), nullptr);
    return error.getMethod() + ": " + error.getDescription();
  }
  return "none";
}

const std::string& stringOf(const KQValue& value) {
  return value;
}
float floatOf(const KQValue& value) {
  return value;
}

// Nested arrays of one element each.
KQValue nested(int depth) {
  KQValue value("core");
  for (int i = 0; i < depth; ++i) {
    KQValue outer = KQValue::array();
    outer.push_back(std::move(value));
    value = std::move(outer);
  }
  return value;
}

int depthOf(const KQValue& value) {
  int depth = 0;
  for (const KQValue* inner = &value; errorOf([&] { inner->getSize(); }) == "none"; ++depth) {
    inner = &(*inner)[0];
  }
  return depth;
}

TEST(KQValueTest, HoldsAString) {
  EXPECT_EQ(stringOf(KQValue("text")), "text");
  EXPECT_EQ(stringOf(KQValue(std::string("a\0b", 3))), std::string("a\0b", 3));
  EXPECT_EQ(stringOf(KQValue("")), "");
}

TEST(KQValueTest, HoldsAFloat) {
  EXPECT_EQ(floatOf(KQValue(2.5F)), 2.5F);
}

TEST(KQValueTest, HoldsAnArrayOfMixedKinds) {
  const KQValue value = KQValue::array({"name", 1.5F, KQValue::array({"inner"})});

  ASSERT_EQ(value.getSize(), 3);
  EXPECT_EQ(stringOf(value[0]), "name");
  EXPECT_EQ(floatOf(value[1]), 1.5F);
  EXPECT_EQ(stringOf(value[2][0]), "inner");
}

TEST(KQValueTest, AnArrayIsEmptyAtFirst) {
  EXPECT_EQ(KQValue::array().getSize(), 0);
}

TEST(KQValueTest, PushBackAppends) {
  KQValue value = KQValue::array({"first"});

  value.push_back("second");
  value.push_back(value);

  ASSERT_EQ(value.getSize(), 3);
  EXPECT_EQ(stringOf(value[1]), "second");
  EXPECT_EQ(stringOf(value[2][0]), "first");
  EXPECT_EQ(value[2].getSize(), 2);
}

TEST(KQValueTest, AccessGivesReferences) {
  KQValue value = KQValue::array({"old", 1.0F});

  static_cast<std::string&>(value[0]) = "new";
  static_cast<float&>(value[1]) = 2.0F;

  EXPECT_EQ(stringOf(value[0]), "new");
  EXPECT_EQ(floatOf(value[1]), 2.0F);
}

TEST(KQValueTest, ConvertsInTheUsualPlaces) {
  KQValue text("text");
  KQValue number(2.5F);

  const std::string copied = text;
  const std::string constructed(text);
  std::string assigned;
  assigned = static_cast<std::string>(text);
  const float read = number;

  EXPECT_EQ(copied, "text");
  EXPECT_EQ(constructed, "text");
  EXPECT_EQ(assigned, "text");
  EXPECT_EQ(read, 2.5F);
}

struct WrongKind {
  std::string name;
  KQValue value;
  bool isString, isFloat, isArray;
};

TEST(KQValueTest, EveryAccessToAnotherKindThrows) {
  const std::string noString = "operator std::string&: The value is not a string.";
  const std::string noFloat = "operator float&: The value is not a float.";
  const WrongKind table[] = {
      {"null", KQValue(), false, false, false},
      {"null text", static_cast<const char*>(nullptr), false, false, false},
      {"bool", true, false, false, false},
      {"int", 1, false, false, false},
      {"float", 1.0F, false, true, false},
      {"string", "1", true, false, false},
      {"array", KQValue::array({"1"}), false, false, true},
  };
  for (const WrongKind& row : table) {
    SCOPED_TRACE(row.name);
    KQValue value = row.value;
    EXPECT_EQ(errorOf([&] { stringOf(row.value); }), row.isString ? "none" : noString);
    EXPECT_EQ(errorOf([&] { static_cast<void>(static_cast<std::string&>(value)); }),
              row.isString ? "none" : noString);
    EXPECT_EQ(errorOf([&] { floatOf(row.value); }), row.isFloat ? "none" : noFloat);
    EXPECT_EQ(errorOf([&] { static_cast<void>(static_cast<float&>(value)); }),
              row.isFloat ? "none" : noFloat);
    EXPECT_EQ(errorOf([&] { value.getSize(); }),
              row.isArray ? "none" : "getSize: The value is not an array.");
    EXPECT_EQ(errorOf([&] { std::as_const(value)[0]; }),
              row.isArray ? "none" : "operator[]: The value is not an array.");
    EXPECT_EQ(errorOf([&] { value.push_back(1); }),
              row.isArray ? "none" : "push_back: The value is not an array.");
  }
}

TEST(KQValueTest, AnIndexOutsideTheArrayThrows) {
  KQValue value = KQValue::array({"only"});

  EXPECT_EQ(errorOf([&] { value[1]; }), "operator[]: The array has no element 1.");
  EXPECT_EQ(errorOf([&] { value[-1]; }), "operator[]: The array has no element -1.");
  EXPECT_EQ(errorOf([&] { std::as_const(value)[1]; }), "operator[]: The array has no element 1.");
}

TEST(KQValueTest, CopiesAreDeep) {
  KQValue original = KQValue::array({KQValue::array({"inner"}), "outer"});
  const KQValue copy = original;
  KQValue assigned;
  assigned = original;

  static_cast<std::string&>(original[0][0]) = "changed";
  original.push_back("more");

  EXPECT_EQ(copy.getSize(), 2);
  EXPECT_EQ(stringOf(copy[0][0]), "inner");
  EXPECT_EQ(stringOf(copy[1]), "outer");
  EXPECT_EQ(stringOf(assigned[0][0]), "inner");
}

TEST(KQValueTest, MovingTakesTheElements) {
  KQValue original = KQValue::array({KQValue::array({"inner"})});
  const KQValue* element = &original[0];

  KQValue moved = std::move(original);

  EXPECT_EQ(&moved[0], element);
}

TEST(KQValueTest, AnElementMayBeAssignedToItsOwnArray) {
  KQValue copied = KQValue::array({KQValue::array({"inner"}), "outer"});
  KQValue moved = copied;

  copied = copied[1];
  moved = std::move(moved[0]);

  EXPECT_EQ(stringOf(copied), "outer");
  EXPECT_EQ(stringOf(moved[0]), "inner");
}

TEST(KQValueTest, AssignmentToItselfChangesNothing) {
  KQValue value = KQValue::array({"element"});
  KQValue& same = value;

  value = same;
  value = std::move(same);

  EXPECT_EQ(stringOf(value[0]), "element");
}

TEST(KQValueTest, DepthIsLimitedByMemoryOnly) {
  constexpr int depth = 300000;
  KQValue value = nested(depth);

  const KQValue copy = value;
  value = "another";

  EXPECT_EQ(depthOf(copy), depth);
}

TEST(KQValueTest, WideAndDeepValuesAreDestroyedWhole) {
  KQValue value = nested(1000);
  value.push_back(nested(1000));
  value.push_back("text");

  const KQValue copy = value;
  value = KQValue();

  EXPECT_EQ(copy.getSize(), 3);
  EXPECT_EQ(depthOf(copy[0]), 999);
  EXPECT_EQ(depthOf(copy[1]), 1000);
}

}  // namespace
