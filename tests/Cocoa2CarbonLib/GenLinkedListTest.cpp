// The list of untyped items: counting, order, moving, disposing.
#include "Cocoa2CarbonLib/GenLinkedList.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <new>
#include <vector>

namespace {

bool g_allocationFails = false;
std::vector<void*> g_disposed;

void recordDisposed(void* data)
{
    g_disposed.push_back(data);
}

class GenLinkedListTest : public testing::Test {
protected:
    void SetUp() override
    {
        g_disposed.clear();
        InitLinkedList(&m_list, recordDisposed);
        InitLinkedList(&m_other, recordDisposed);
    }
    void TearDown() override
    {
        DestroyList(&m_list);
        DestroyList(&m_other);
    }

    std::vector<void*> items(const GenLinkedList& list) const
    {
        GenIterator iterator {};
        InitIterator(&list, &iterator);
        std::vector<void*> found;
        while (void* const data = Next(&iterator))
            found.push_back(data);
        return found;
    }

    int m_a = 0;
    int m_b = 0;
    int m_c = 0;
    GenLinkedList m_list {};
    GenLinkedList m_other {};
};

} // namespace

// The list asks for its nodes through this; a test makes it refuse.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return g_allocationFails ? nullptr : std::malloc(size);
}
void operator delete(void* pointer) noexcept
{
    std::free(pointer);
}
void operator delete(void* pointer, std::size_t) noexcept
{
    std::free(pointer);
}
void* operator new(std::size_t size)
{
    if (void* const pointer = std::malloc(size > 0 ? size : 1))
        return pointer;
    std::abort();
}

TEST_F(GenLinkedListTest, IsEmptyAfterInit)
{
    EXPECT_EQ(GetNumberOfItems(&m_list), 0u);
    EXPECT_EQ(m_list.firstNode, nullptr);
    EXPECT_EQ(m_list.lastNode, nullptr);
    EXPECT_TRUE(items(m_list).empty());
}

TEST_F(GenLinkedListTest, HasNoItemsWhenNull)
{
    EXPECT_EQ(GetNumberOfItems(nullptr), 0u);
}

TEST_F(GenLinkedListTest, RefusesToAddToNullListOrNullData)
{
    EXPECT_EQ(AddToTail(nullptr, &m_a), -50);
    EXPECT_EQ(AddToTail(&m_list, nullptr), -50);
    EXPECT_EQ(GetNumberOfItems(&m_list), 0u);
}

TEST_F(GenLinkedListTest, KeepsItemsInTheOrderTheyWereAdded)
{
    EXPECT_EQ(AddToTail(&m_list, &m_a), 0);
    EXPECT_EQ(AddToTail(&m_list, &m_b), 0);
    EXPECT_EQ(AddToTail(&m_list, &m_a), 0);
    EXPECT_EQ(GetNumberOfItems(&m_list), 3u);
    EXPECT_THAT(items(m_list), testing::ElementsAre(&m_a, &m_b, &m_a));
    EXPECT_EQ(m_list.lastNode->data, &m_a);
    EXPECT_EQ(m_list.lastNode->next, nullptr);
}

TEST_F(GenLinkedListTest, ReportsAFailedAllocationAndStaysAsItWas)
{
    EXPECT_EQ(AddToTail(&m_list, &m_a), 0);
    g_allocationFails = true;
    const OSStatus error = AddToTail(&m_list, &m_b);
    g_allocationFails = false;
    EXPECT_EQ(error, -108);
    EXPECT_EQ(GetNumberOfItems(&m_list), 1u);
    EXPECT_THAT(items(m_list), testing::ElementsAre(&m_a));
}

TEST_F(GenLinkedListTest, DisposesOfEachItemInOrderWhenDestroyed)
{
    AddToTail(&m_list, &m_a);
    AddToTail(&m_list, &m_b);
    DestroyList(&m_list);
    EXPECT_THAT(g_disposed, testing::ElementsAre(&m_a, &m_b));
    EXPECT_EQ(GetNumberOfItems(&m_list), 0u);
    DestroyList(&m_list);
    EXPECT_EQ(g_disposed.size(), 2u) << "a destroyed list is empty";
}

TEST_F(GenLinkedListTest, CanBeUsedAgainOnceDestroyed)
{
    AddToTail(&m_list, &m_a);
    DestroyList(&m_list);
    EXPECT_EQ(AddToTail(&m_list, &m_b), 0);
    EXPECT_THAT(items(m_list), testing::ElementsAre(&m_b));
}

TEST_F(GenLinkedListTest, NeedsNoDisposeProcedure)
{
    InitLinkedList(&m_list, nullptr);
    AddToTail(&m_list, &m_a);
    DestroyList(&m_list);
    EXPECT_EQ(GetNumberOfItems(&m_list), 0u);
    EXPECT_TRUE(g_disposed.empty());
}

TEST_F(GenLinkedListTest, MovesItemsInFrontOfThoseAlreadyThere)
{
    AddToTail(&m_list, &m_a);
    AddToTail(&m_other, &m_b);
    AddToTail(&m_other, &m_c);
    InsertList(&m_list, &m_other);
    EXPECT_THAT(items(m_list), testing::ElementsAre(&m_b, &m_c, &m_a));
    EXPECT_EQ(GetNumberOfItems(&m_list), 3u);
    EXPECT_EQ(GetNumberOfItems(&m_other), 0u);
    EXPECT_TRUE(items(m_other).empty());
    EXPECT_TRUE(g_disposed.empty()) << "moving disposes of nothing";
}

TEST_F(GenLinkedListTest, AddsBehindTheItemsThatWereMovedIn)
{
    AddToTail(&m_other, &m_a);
    InsertList(&m_list, &m_other);
    AddToTail(&m_list, &m_b);
    AddToTail(&m_other, &m_c);
    EXPECT_THAT(items(m_list), testing::ElementsAre(&m_a, &m_b));
    EXPECT_THAT(items(m_other), testing::ElementsAre(&m_c));
}

TEST_F(GenLinkedListTest, MovesNothingFromAnEmptyOrNullListNorFromItself)
{
    AddToTail(&m_list, &m_a);
    InsertList(&m_list, &m_other);
    InsertList(&m_list, nullptr);
    InsertList(nullptr, &m_list);
    InsertList(&m_list, &m_list);
    EXPECT_THAT(items(m_list), testing::ElementsAre(&m_a));
    EXPECT_EQ(GetNumberOfItems(&m_list), 1u);
}

TEST_F(GenLinkedListTest, IteratorGivesNullAfterTheLastItemAndForNull)
{
    AddToTail(&m_list, &m_a);
    GenIterator iterator {};
    InitIterator(&m_list, &iterator);
    EXPECT_EQ(Next(&iterator), &m_a);
    EXPECT_EQ(Next(&iterator), nullptr);
    EXPECT_EQ(Next(&iterator), nullptr);
    InitIterator(nullptr, &iterator);
    EXPECT_EQ(Next(&iterator), nullptr);
    EXPECT_EQ(Next(nullptr), nullptr);
}
