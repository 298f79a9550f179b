// What hosts that are already compiled have taken from the headers as plain numbers, which no
// description of the binary interface holds. scripts/abi compares the rest.
#include <gtest/gtest.h>

#include "IBookInfoEntity.h"
#include "QvResult.h"

using namespace QvFormat;

namespace {

TEST(Abi, NumbersThatHostsHaveCompiledIn) {
    const struct {
        const char* name;
        unsigned int actual, expected;
    } numbers[] = {
        {"QV_S_OK", static_cast<unsigned int>(QV_S_OK), 0},
        {"QV_E_NOTIMPL", static_cast<unsigned int>(QV_E_NOTIMPL), 0x80000001},
        {"QV_E_OUTOFMEMORY", static_cast<unsigned int>(QV_E_OUTOFMEMORY), 0x80000002},
        {"QV_E_INVALIDARG", static_cast<unsigned int>(QV_E_INVALIDARG), 0x80000003},
        {"QV_E_POINTER", static_cast<unsigned int>(QV_E_POINTER), 0x80000005},
        {"QV_E_FAIL", static_cast<unsigned int>(QV_E_FAIL), 0x80000008},
        {"QV_E_NOTREADY", static_cast<unsigned int>(QV_E_NOTREADY), 0x8000000a},
        {"kCommonFileId", kCommonFileId, 0xFFFFFFFF},
    };
    for (const auto& number : numbers)
        EXPECT_EQ(number.actual, number.expected) << number.name;
}

} // namespace
