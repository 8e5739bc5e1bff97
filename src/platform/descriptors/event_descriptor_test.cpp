#include "platform/descriptors/event_descriptor.h"

#include <array>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

namespace gateway::platform {

namespace {

bool isReadable(const EventDescriptor &event)
{
    pollfd entry{event.descriptor(), POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
}

bool isOpen(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) >= 0;
}

} // namespace

TEST(EventDescriptor, IsReadableFromTheFirstSetToTheReset)
{
    EventDescriptor event;
    EXPECT_FALSE(isReadable(event));

    event.set();
    event.set();
    EXPECT_TRUE(isReadable(event));

    event.reset();
    EXPECT_FALSE(isReadable(event));
}

TEST(EventDescriptor, ResetWithoutASetDoesNotWait)
{
    EventDescriptor event;

    event.reset();

    EXPECT_FALSE(isReadable(event));
}

TEST(Descriptor, ClosesWhatItOwnedWhenItTakesAnother)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    Descriptor first(ends[0]);
    Descriptor second(ends[1]);

    first = std::move(second);

    EXPECT_FALSE(isOpen(ends[0]));
    EXPECT_FALSE(second.isOpen());
    EXPECT_EQ(first.get(), ends[1]);
    EXPECT_EQ(first.close(), 0);
    EXPECT_FALSE(isOpen(ends[1]));
}

TEST(Descriptor, LeavesWhatItHandedOver)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    {
        Descriptor writing(ends[1]);
        EXPECT_EQ(writing.release(), ends[1]);
    }

    EXPECT_TRUE(isOpen(ends[1]));
    const Descriptor taken(ends[1]);
}

} // namespace gateway::platform
