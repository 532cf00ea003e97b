// The circular list without a lock.
#include <gtest/gtest.h>

#include "sdkapi/session.h"

namespace {

TEST(OnvifList, AnEmptyHeadPointsAtItself) {
  OnvifList head{};
  EXPECT_EQ(onvif_list_init(&head), &head);
  EXPECT_EQ(head.next, &head);
  EXPECT_EQ(head.prev, &head);
}

TEST(OnvifList, AppendsAtTheTail) {
  OnvifList head{};
  OnvifList one{};
  OnvifList two{};
  onvif_list_init(&head);
  EXPECT_EQ(onvif_list_add_tail(&head, &one), &head);
  EXPECT_EQ(head.next, &one);
  EXPECT_EQ(head.prev, &one);
  EXPECT_EQ(one.next, &head);
  EXPECT_EQ(one.prev, &head);
  EXPECT_EQ(onvif_list_add_tail(&head, &two), &head);
  EXPECT_EQ(head.next, &one);
  EXPECT_EQ(one.next, &two);
  EXPECT_EQ(two.next, &head);
  EXPECT_EQ(head.prev, &two);
  EXPECT_EQ(two.prev, &one);
  EXPECT_EQ(one.prev, &head);
}

TEST(OnvifList, RemoveReturnsThePredecessorAndLeavesTheNodesFields) {
  OnvifList head{};
  OnvifList one{};
  OnvifList two{};
  OnvifList three{};
  onvif_list_init(&head);
  for (OnvifList* const node : {&one, &two, &three}) onvif_list_add_tail(&head, node);
  EXPECT_EQ(onvif_list_remove(&two), &one);
  EXPECT_EQ(one.next, &three);
  EXPECT_EQ(three.prev, &one);
  EXPECT_EQ(two.next, &three);
  EXPECT_EQ(two.prev, &one);
  EXPECT_EQ(onvif_list_remove(&one), &head);
  EXPECT_EQ(onvif_list_remove(&three), &head);
  EXPECT_EQ(head.next, &head);
  EXPECT_EQ(head.prev, &head);
}

TEST(OnvifList, ANodeIsNextThenPrev) {
  EXPECT_EQ(sizeof(OnvifList), 16U);
  EXPECT_EQ(offsetof(OnvifList, next), 0U);
  EXPECT_EQ(offsetof(OnvifList, prev), 8U);
}

}  // namespace
