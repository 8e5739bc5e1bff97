#include "platform/sentences/in_english.h"

namespace gateway::platform {

namespace {

thread_local int wanted = 0;

} // namespace

InEnglish::InEnglish() noexcept
{
    ++wanted;
}

InEnglish::~InEnglish()
{
    --wanted;
}

bool InEnglish::isWanted() noexcept
{
    return wanted > 0;
}

} // namespace gateway::platform
