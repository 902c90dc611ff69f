#include "foundation/json/value.hpp"

#include "support/failing_allocation.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace foundation::json;
using test::one_of_each;

constexpr int string_tag = traits<std::string>::tag;
constexpr int vector_tag = traits<ValueVector>::tag;
constexpr int map_tag = traits<ValueMap>::tag;

bool is_container(const Value& value) {
    return value.tag() == vector_tag || value.tag() == map_tag;
}

// Calls `test` with a copy of each alternative and each alternative to assign to it.
template <class Test>
void for_each_pair(const Test& test) {
    for (const Value& to : one_of_each())
        for (const Value& from : one_of_each()) {
            SCOPED_TRACE("to tag " + std::to_string(to.tag()) + " from tag " +
                         std::to_string(from.tag()));
            test(to, from);
        }
}

template <class To>
std::string failure_of_get(const Value& value) {
    try {
        static_cast<void>(value.get<To>());
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

TEST(Value, GettersGiveTheAlternativeHeldOrSayWhatIsWrong) {
    const char* const names[] = {
        "undefined", "null",   "boolean", "double",    "string",
        "array",     "object", "float",   "long long", "unsigned long long"};
    const std::vector<Value> values = one_of_each();
    for (int tag = 0; tag < 10; ++tag) {
        const Value& value = values[static_cast<std::size_t>(tag)];
        ASSERT_EQ(value.tag(), tag);
        const std::string prefix = std::string("invalid conversion: ") + names[tag] + " to ";
        EXPECT_EQ(failure_of_get<std::string>(value),
                  tag == string_tag ? "none" : prefix + "string");
        EXPECT_EQ(failure_of_get<ValueMap>(value), tag == map_tag ? "none" : prefix + "object");
        EXPECT_EQ(value.get_if<ValueMap>() != nullptr, tag == map_tag);
    }
    EXPECT_EQ(Value().tag(), 0);
}

TEST(Value, CopyAssignmentGivesADeepCopy) {
    for_each_pair([](const Value& old, const Value& from) {
        const Value original = from;
        Value to = old;
        EXPECT_EQ(&(to = from), &to);
        EXPECT_EQ(to, original);
        if (to.tag() == vector_tag)
            to.get<ValueVector>()[0].get<ValueMap>()["key"] = Value(1.0);
        else if (to.tag() == map_tag)
            to.get<ValueMap>().clear();
        EXPECT_EQ(from, original);
    });
}

TEST(Value, MoveAssignmentTakesTheContentWithoutMemory) {
    for_each_pair([](const Value& old, const Value& original) {
        Value to = old;
        Value from = original;
        {
            const test::FailingAllocation failing(1);
            to = std::move(from);
            EXPECT_FALSE(test::FailingAllocation::has_failed());
        }
        EXPECT_EQ(to, original);
        ASSERT_EQ(from.tag(), original.tag());
        if (is_container(to) && old.tag() == to.tag()) {
            EXPECT_EQ(from, old); // the two have changed places
        } else if (from.tag() == string_tag) {
            EXPECT_EQ(from.get<std::string>(), "");
        } else if (from.tag() == vector_tag) {
            EXPECT_EQ(from, Value(ValueVector()));
        } else if (from.tag() == map_tag) {
            EXPECT_EQ(from, Value(ValueMap()));
        }
    });
}

TEST(Value, AValueThatWasMovedFromIsOfUse) {
    for (Value& value : test::one_of_each()) {
        const Value original = value;
        const Value taken = std::move(value);
        EXPECT_EQ(taken, original);
        EXPECT_EQ(Value(value).tag(), original.tag());
        if (auto* elements = value.get_if<ValueVector>()) {
            EXPECT_TRUE(elements->empty());
            value.get<ValueVector>().emplace_back(true);
            EXPECT_EQ(value, Value(ValueVector{Value(true)}));
        }
        value = original;
        EXPECT_EQ(value, original);
    }
}

TEST(Value, AFailedCopyLeavesWhatTheRulesSay) {
    int failed_runs = 0;
    for_each_pair([&](const Value& old, const Value& from) {
        const auto check = [&](const Value& to) {
            if (to.tag() == old.tag() && old.tag() == from.tag())
                return; // assigned in place, as far as it went
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

TEST(Value, VectorsAreAssignedElementByElement) {
    Value to(ValueVector{Value(std::string("x")), Value(1.0)});
    const Value* const first = to.get<ValueVector>().data();
    to = Value(Value(ValueVector{Value(true)})); // a move: the holders change places
    EXPECT_NE(to.get<ValueVector>().data(), first);

    Value shrinking(ValueVector{Value(std::string("x")), Value(1.0)});
    const Value* const kept = shrinking.get<ValueVector>().data();
    const Value one_element(ValueVector{Value(true)});
    shrinking = one_element;
    EXPECT_EQ(shrinking.get<ValueVector>().data(), kept);
    EXPECT_EQ(shrinking, one_element);
}

TEST(Value, CanBeAssignedItselfOrAPartOfItself) {
    for (Value value : one_of_each()) {
        const Value original = value;
        const Value& self = value;
        value = self;
        EXPECT_EQ(value, original);
    }
    Value inner(ValueVector{Value(1.0), Value(std::string("last"))});
    const Value original = inner;
    Value same_alternative(ValueVector{Value(true), inner});
    same_alternative = same_alternative.get<ValueVector>()[1];
    EXPECT_EQ(same_alternative, original);

    ValueMap members;
    members.emplace("deep", ValueVector{inner});
    Value other_alternative(members);
    other_alternative = other_alternative.get<ValueMap>()["deep"].get<ValueVector>()[0];
    EXPECT_EQ(other_alternative, original);
    other_alternative = std::move(other_alternative.get<ValueVector>()[1]);
    EXPECT_EQ(other_alternative, Value(std::string("last")));
}

TEST(Value, MapsSortByUnsignedBytes) {
    ValueMap map;
    for (const char* key : {"b", "\xC3\xA4", "a", "B", "aa", ""})
        map.emplace(key, Null());
    std::string keys;
    for (const auto& [key, value] : map)
        keys += key + "|";
    EXPECT_EQ(keys, "|B|a|aa|b|\xC3\xA4|");
}

} // namespace
