#include "index/store_watch.h"

#include "platform/concurrency/clock.h"

#include <utility>

namespace gateway::index {

StoreWatch::StoreWatch(platform::Clock &clock,
                       std::function<bool()> look,
                       std::function<void(bool isOutOfSight)> tell)
    : m_clock(clock), m_look(std::move(look)), m_tell(std::move(tell)),
      m_looks("store-watch",
              [this](const std::stop_token &stop) {
                  do {
                      lookOnce();
                  } while (m_clock.sleep(kPause, stop));
              }),
      m_silences("store-silence", [this](const std::stop_token &stop) {
          while (m_clock.sleep(kPause, stop)) {
              tellOfSilence();
          }
      })
{
}

void StoreWatch::lookOnce()
{
    {
        const platform::MutexLock lock(m_mutex);
        m_since = m_clock.monotonic();
    }
    const bool isOutOfSight = m_look();
    const platform::MutexLock lock(m_mutex);
    m_since.reset();
    m_tell(isOutOfSight);
}

void StoreWatch::tellOfSilence()
{
    const platform::MutexLock lock(m_mutex);
    if (m_since && m_clock.monotonic() - *m_since >= kPause) {
        m_tell(true);
    }
}

} // namespace gateway::index
