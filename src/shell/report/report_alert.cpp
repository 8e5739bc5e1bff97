#include "shell/report/report_alert.h"

#include "shell/controls/button.h"
#include "shell/controls/text_label.h"

namespace gateway::shell {

ReportAlert::ReportAlert(const Theme &theme, QWidget &window)
    : Sheet(theme, window, {}), m_message(new TextLabel(theme, {}, TypeStyle::body, Color::text2))
{
    m_message->setWordWrap(true);
    body().addWidget(m_message);
    auto *seen = new PrimaryButton(theme, tr("OK"));
    body().addWidget(seen, 0, Qt::AlignRight);
    setDefaultButton(seen);
    connect(seen, &QAbstractButton::clicked, this, [this] {
        closeSheet();
        Q_EMIT dismissed();
    });
}

void ReportAlert::tell(const QString &title, const QString &message)
{
    setTitle(title);
    m_message->setText(message);
    open();
}

} // namespace gateway::shell
