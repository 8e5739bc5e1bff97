#pragma once

#include <QtCore/QMetaEnum>
#include <QtCore/QString>

namespace gateway::shell {

/// Calls `take(enumerator, its name)` for each enumerator of one of the enumerations of tokens.h.
template <typename Enum, typename Take>
void forEachToken(Take take)
{
    const QMetaEnum meta = QMetaEnum::fromType<Enum>();
    for (int index = 0; index < meta.keyCount(); ++index) {
        take(static_cast<Enum>(meta.value(index)), QString::fromLatin1(meta.key(index)));
    }
}

} // namespace gateway::shell
