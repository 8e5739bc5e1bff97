#pragma once

#include "shell/preferences/gateway_settings_item.h"

#include <QtWidgets/QListWidget>

#include <optional>

namespace gateway::shell {

class Theme;

/// The categories below each other, one of them selected; with Ctrl it can be let go.
///
/// Owner: QuorinGatewaySettingsView. Thread: main.
class CategoryList : public QListWidget
{
    Q_OBJECT

public:
    explicit CategoryList(const Theme &theme, QWidget *parent = nullptr);

    std::optional<GatewaySettingsItem> selection() const;
    void select(std::optional<GatewaySettingsItem> item);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    void chosen();

private:
    void add(GatewaySettingsItem item, const QString &title);

    const Theme &m_theme;
};

} // namespace gateway::shell
