// The lists: keys, order, cutting, and who owns what.
#include "driver/records/device_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

std::vector<std::string> keys(device_list list)
{
    std::vector<std::string> found;
    for (list_node *node = list; node != nullptr; node = node->next)
        found.emplace_back(static_cast<device_record *>(node->data)->ip);
    return found;
}

} // namespace

TEST(DeviceList, FindsByExactTextAndKeepsTheOrderOfFirstSight)
{
    device_list list;
    list_init(&list);
    device_record *first = device_list_find_or_add(&list, "10.0.0.5");
    first->snmp_detected = 1;
    device_list_find_or_add(&list, "10.0.0.5 ");
    device_list_find_or_add(&list, "fe80::A");
    device_list_find_or_add(&list, "fe80::a");
    device_list_find_or_add(&list, "");
    EXPECT_EQ(device_list_find_or_add(&list, "10.0.0.5"), first);
    EXPECT_EQ(device_list_find_or_add(&list, "")->snmp_detected, 0);
    EXPECT_EQ(keys(list),
              (std::vector<std::string>{"10.0.0.5", "10.0.0.5 ", "fe80::A", "fe80::a", ""}));
    list_free(&list);
    EXPECT_EQ(list, nullptr);
    list_free(&list);
}

TEST(DeviceList, CutsALongKeyAndDoesNotFindItAgain)
{
    device_list list;
    list_init(&list);
    const std::string key(40, 'x');
    device_record *first = device_list_find_or_add(&list, key.c_str());
    EXPECT_EQ(std::string(first->ip), std::string(39, 'x'));
    EXPECT_NE(device_list_find_or_add(&list, key.c_str()), first);
    EXPECT_EQ(keys(list).size(), 2U);
    list_free(&list);
}
