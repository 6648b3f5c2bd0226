// The owner of a file descriptor.
#include "Platform/Support/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>

namespace {

int openNull()
{
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

} // namespace

TEST(Descriptor, ClosesWhatItOwns)
{
    const int first = openNull();
    {
        const Descriptor owner(first);
        EXPECT_TRUE(owner);
        EXPECT_EQ(owner.get(), first);
    }
    EXPECT_FALSE(isOpen(first));
    EXPECT_FALSE(Descriptor());
}

TEST(Descriptor, ClosesTheFormerOneWhenItTakesAnother)
{
    const int first = openNull();
    const int second = openNull();
    Descriptor owner(first);
    owner.reset(second);
    EXPECT_FALSE(isOpen(first));
    EXPECT_TRUE(isOpen(second));
    owner = Descriptor();
    EXPECT_FALSE(isOpen(second));
}

TEST(Descriptor, HandsItsDescriptorOn)
{
    Descriptor owner(openNull());
    const int fd = owner.get();
    Descriptor next(std::move(owner));
    EXPECT_FALSE(owner); // a moved-from owner owns nothing
    EXPECT_EQ(next.release(), fd);
    EXPECT_FALSE(next);
    EXPECT_TRUE(isOpen(fd));
    next.reset(fd);
}
