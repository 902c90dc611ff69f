#include "foundation/json/value.hpp"

#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace {

using namespace foundation::json;

constexpr int string_tag = traits<std::string>::tag;
constexpr int vector_tag = traits<ValueVector>::tag;
constexpr int map_tag = traits<ValueMap>::tag;

bool is_container(const Value& value) {
    return value.tag() == vector_tag || value.tag() == map_tag;
}

// One value of each alternative, at the index of its tag. Those that can take memory do.
std::vector<Value> one_of_each() {
    const std::string text = "a text that is too long to lie inside a string object";
    ValueMap map;
    map.emplace("key", text);
    map.emplace("list", ValueVector(2, Value(text)));
    return {Value(),    Value(Null()), Value(true),
            Value(2.5), Value(text),   Value(ValueVector(3, Value(map))),
            Value(map), Value(0.5F),   Value(-7LL),
            Value(7ULL)};
}

// Calls `test` with each alternative as the old content and each as the source of an assignment.
template <class Test>
void for_each_pair(const Test& test) {
    for (const Value& old : one_of_each())
        for (const Value& from : one_of_each()) {
            SCOPED_TRACE(std::to_string(old.tag()) + " from " + std::to_string(from.tag()));
            test(old, from);
        }
}

TEST(Value, GettersReturnTheAlternativeHeldOrNameBoth) {
    const char* const names[] = {
        "undefined", "null",   "boolean", "double",    "string",
        "array",     "object", "float",   "long long", "unsigned long long"};
    int tag = 0;
    for (const Value& value : one_of_each()) {
        const std::string prefix = "invalid conversion: " + std::string(names[tag]) + " to ";
        EXPECT_EQ(test::failure_of<std::runtime_error>([&] { return value.get<std::string>(); }),
                  tag == string_tag ? "none" : prefix + "string");
        EXPECT_EQ(test::failure_of<std::runtime_error>([&] { return value.get<ValueMap>(); }),
                  tag == map_tag ? "none" : prefix + "object");
        EXPECT_EQ(value.get_if<ValueMap>() != nullptr, tag == map_tag);
        EXPECT_EQ(value.tag(), tag++);
    }
}

TEST(Value, CopyAssignmentMakesADeepCopy) {
    for_each_pair([](const Value& old, const Value& from) {
        const Value original = from;
        Value to = old;
        EXPECT_EQ(&(to = from), &to);
        EXPECT_EQ(&(to = std::as_const(to)), &to);
        EXPECT_EQ(to, original);
        if (to.tag() == vector_tag)
            to.get<ValueVector>()[0].get<ValueMap>().clear();
        else if (to.tag() == map_tag)
            to.get<ValueMap>().clear();
        EXPECT_EQ(from, original);
    });
}

TEST(Value, MoveAssignmentTakesTheContentWithoutMemory) {
    for_each_pair([](const Value& old, Value original) {
        if (original.tag() == map_tag)
            original.get<ValueMap>().erase("key"); // not the same as the old one
        Value to = old;
        Value from = original;
        test::allocations_to_failure = 1;
        to = std::move(from);
        EXPECT_EQ(std::exchange(test::allocations_to_failure, 0), 1);
        EXPECT_EQ(to, original);
        ASSERT_EQ(from.tag(), original.tag());
        if (is_container(to) && old.tag() == to.tag()) {
            EXPECT_EQ(from, old); // exchanged
        } else if (from.tag() == string_tag || is_container(from)) {
            EXPECT_EQ(test::dump(from).size(), 2U); // two quotes, brackets or braces
        }
        if (from.tag() == vector_tag)
            from.get<ValueVector>().emplace_back(true); // can be used again
        from = original;
        EXPECT_EQ(from, original);
    });
}

TEST(Value, AFailedCopyLeavesTheOldTextOrABoolean) {
    int failed_runs = 0;
    for_each_pair([&](const Value& old, const Value& from) {
        const auto check = [&](const Value& to) {
            if (old.tag() == from.tag())
                return; // assigned in-place, as far as memory went
            EXPECT_EQ(to.tag(), is_container(from) ? traits<bool>::tag : old.tag());
            EXPECT_TRUE(is_container(from) || to == old);
        };
        failed_runs +=
            test::fail_each_allocation([&] { return old; }, [&](Value& to) { to = from; }, check);
        failed_runs += test::fail_each_allocation(
            [] { return 0; }, [&](int) { const Value copy = from; }, [](int) {});
    });
    EXPECT_GT(failed_runs, 500);
}

TEST(Value, CanBeAPartOfItselfWhenAssigned) {
    const Value original(ValueVector{Value(1.0), Value(std::string("last"))});
    Value same_alternative(ValueVector{Value(true), original});
    same_alternative = same_alternative.get<ValueVector>()[1];
    EXPECT_EQ(same_alternative, original);

    Value other_alternative((ValueMap()));
    other_alternative.get<ValueMap>()["deep"] = Value(ValueVector{original});
    other_alternative = other_alternative.get<ValueMap>()["deep"].get<ValueVector>()[0];
    EXPECT_EQ(other_alternative, original);
    other_alternative = std::move(other_alternative.get<ValueVector>()[1]);
    EXPECT_EQ(other_alternative, Value(std::string("last")));

    Value whole(ValueVector{original, Value(true)});
    const Value before = whole;
    whole.get<ValueVector>()[1] = whole;
    EXPECT_EQ(whole, Value(ValueVector{original, before}));
}

} // namespace
