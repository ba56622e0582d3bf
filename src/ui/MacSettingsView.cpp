#include "ui/MacSettingsView.h"

#include "ui/MacSettings.h"
#include "platform/Accessibility.h"
#include "platform/Defaults.h"
#include "platform/LoginItem.h"
#include "tracking/MacAppTracker.h"
#include "ui/IconProvider.h"
#include "ui/ViewStyle.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

#include <cstdlib>

namespace plenda {

namespace {

QLabel* caption(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setFont(systemFont(11));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, toQColor(Palette::textSecondary, appearanceOf(*parent)));
    label->setPalette(palette);
    return label;
}

}  // namespace

MacSettingsView::MacSettingsView(Dependencies d, QWidget* parent)
    : QWidget(parent),
      defaults_(d.defaults),
      tracker_(d.tracker),
      loginItem_(d.loginItem),
      accessibility_(d.accessibility),
      icons_(d.icons),
      output_(d.output) {
    setFixedSize(460, 330);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    tabs_ = new QTabWidget(this);
    tabs_->setAccessibleName(localized("mac.settings"));
    // Centred, as the system's settings windows place their tabs.
    tabs_->setStyleSheet(QStringLiteral("QTabWidget::tab-bar { alignment: center; }"));
    const auto icon = [this](const char* name) {
        return QIcon(icons_.symbol(name, 16, QFont::Normal, palette().color(QPalette::WindowText), devicePixelRatioF()));
    };
    tabs_->addTab(generalTab(), icon("gearshape"), localized("mac.settings.general"));
    tabs_->addTab(trackingTab(), icon("clock"), localized("mac.settings.tracking"));
    tabs_->addTab(privacyTab(), icon("hand.raised"), localized("mac.settings.privacy"));
    layout->addWidget(tabs_);
}

QWidget* MacSettingsView::generalTab() {
    auto* tab = new QWidget;
    auto* form = new QVBoxLayout(tab);
    form->setContentsMargins(20, 20, 20, 20);
    form->setSpacing(6);
    launch_ = new QCheckBox(localized("mac.settings.launch"), tab);
    launch_->setChecked(loginItem_.isEnabled());
    connect(launch_, &QCheckBox::toggled, this, [this](bool wanted) {
        const bool actual = MacSettings::setLaunchAtLogin(loginItem_, wanted, output_);
        if (actual != launch_->isChecked()) {
            const QSignalBlocker blocker(launch_);
            launch_->setChecked(actual);
        }
    });
    form->addWidget(launch_);
    form->addWidget(caption(localized("mac.settings.launch.note"), tab));
    form->addStretch();
    return tab;
}

QWidget* MacSettingsView::trackingTab() {
    auto* scroller = new QScrollArea;
    scroller->setWidgetResizable(true);
    scroller->setFocusPolicy(Qt::NoFocus);  // Tab goes to what it holds
    scroller->setFrameShape(QFrame::NoFrame);
    auto* tab = new QWidget;
    auto* outer = new QVBoxLayout(tab);
    outer->setContentsMargins(20, 14, 20, 14);
    outer->setSpacing(10);
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setFormAlignment(Qt::AlignLeft | Qt::AlignTop);
    for (const MacSettings::Picker& picker : MacSettings::pickers()) {
        auto* combo = new QComboBox(tab);
        for (const auto& choice : picker.choices) combo->addItem(localized(choice.labelKey), choice.seconds);
        // A stored value that matches no choice stays stored; the picker shows none.
        combo->setCurrentIndex(MacSettings::choiceIndex(picker, MacSettings::pickerValue(defaults_, picker)));
        connect(combo, &QComboBox::activated, this, [this, combo, key = picker.key](int index) {
            defaults_.setDouble(key, combo->itemData(index).toDouble());
        });
        form->addRow(localized(picker.labelKey), combo);
        pickers_.push_back(combo);
    }
    outer->addLayout(form);

    auto* heading = new QLabel(localized("mac.settings.ignored"), tab);
    heading->setFont(systemFont(12, QFont::DemiBold));
    outer->addWidget(heading);
    ignoredRows_ = new QVBoxLayout;
    ignoredRows_->setSpacing(2);
    outer->addLayout(ignoredRows_);
    ignored_ = MacSettings::sortedIgnored(tracker_);
    rebuildIgnoredRows();

    auto* addRow = new QHBoxLayout;
    newIgnored_ = new QLineEdit(tab);
    newIgnored_->setPlaceholderText(QStringLiteral("com.example.app"));
    newIgnored_->setAccessibleName(localized("mac.settings.ignored"));
    add_ = new QPushButton(localized("mac.settings.add"), tab);
    add_->setEnabled(false);
    connect(newIgnored_, &QLineEdit::textChanged, this, [this](const QString& text) {
        add_->setEnabled(!MacSettings::trimBlanks(text.toStdString()).empty());
    });
    connect(add_, &QPushButton::clicked, this, [this] { addIgnored(); });
    addRow->addWidget(newIgnored_, 1);
    addRow->addWidget(add_);
    outer->addLayout(addRow);
    outer->addStretch();
    scroller->setWidget(tab);
    // The tab page's own background shows through, as on the other tabs.
    scroller->viewport()->setAutoFillBackground(false);
    tab->setAutoFillBackground(false);
    return scroller;
}

void MacSettingsView::rebuildIgnoredRows() {
    while (QLayoutItem* item = ignoredRows_->takeAt(0)) {
        if (QLayout* row = item->layout()) {
            while (QLayoutItem* inner = row->takeAt(0)) {
                delete inner->widget();
                delete inner;
            }
        }
        delete item;
    }
    for (const std::string& identifier : ignored_) {
        auto* row = new QHBoxLayout;
        auto* name = new QLabel(QString::fromStdString(identifier));
        QFont mono = systemFont(11);
        mono.setStyleHint(QFont::Monospace);
        mono.setFamilies({QStringLiteral("SF Mono"), QStringLiteral("Menlo"), QStringLiteral("DejaVu Sans Mono"),
                          QStringLiteral("monospace")});
        name->setFont(mono);
        name->setTextInteractionFlags(Qt::TextSelectableByMouse);
        auto* remove = new QPushButton(localized("mac.settings.remove"));
        remove->setAccessibleName(localized("mac.settings.remove") + QLatin1Char(' ') + QString::fromStdString(identifier));
        remove->setFlat(true);
        remove->setCursor(Qt::PointingHandCursor);
        connect(remove, &QPushButton::clicked, this, [this, identifier] { removeIgnored(identifier); });
        row->addWidget(name, 1);
        row->addWidget(remove);
        ignoredRows_->addLayout(row);
    }
}

void MacSettingsView::addIgnored() {
    const std::string typed = newIgnored_->text().toStdString();
    if (MacSettings::trimBlanks(typed).empty()) return;
    ignored_ = MacSettings::addIgnored(defaults_, tracker_, typed);
    newIgnored_->clear();
    rebuildIgnoredRows();
}

void MacSettingsView::removeIgnored(const std::string& identifier) {
    ignored_ = MacSettings::removeIgnored(defaults_, tracker_, identifier);
    rebuildIgnoredRows();
}

QWidget* MacSettingsView::privacyTab() {
    auto* tab = new QWidget;
    auto* outer = new QVBoxLayout(tab);
    outer->setContentsMargins(20, 20, 20, 20);
    outer->setSpacing(12);
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* browserHolder = new QWidget(tab);
    browserRow_ = new QVBoxLayout(browserHolder);
    browserRow_->setContentsMargins(0, 0, 0, 0);
    auto* accessibilityHolder = new QWidget(tab);
    accessibilityRow_ = new QVBoxLayout(accessibilityHolder);
    accessibilityRow_->setContentsMargins(0, 0, 0, 0);
    form->addRow(localized("mac.settings.browser"), browserHolder);
    form->addRow(localized("mac.settings.projects"), accessibilityHolder);
    outer->addLayout(form);
    QString note = localized("Site addresses and editor project names become block titles and sync to your "
                             "private iCloud database. Nothing is sent anywhere else. Pause tracking from "
                             "the menu to stop recording entirely.");
#ifndef __APPLE__
    // Off the Mac the only copy elsewhere is the stand-in file, when one is named.
    if (const char* store = std::getenv("PLENDA_CLOUD_STORE"); store && *store) {
        note += QLatin1Char(' ') + localized("mac.settings.privacy.standin").arg(QString::fromLocal8Bit(store));
    }
#endif
    outer->addWidget(caption(note, tab));
    outer->addStretch();
    refreshPermissions();
    return tab;
}

QWidget* MacSettingsView::statusLabel(const QString& text) {
    auto* label = new QLabel(text);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, toQColor(Palette::textSecondary, appearanceOf(*this)));
    label->setPalette(palette);
    return label;
}

QWidget* MacSettingsView::permissionItem(bool allowed, const char* grantKey, std::function<void()> grant) {
    if (allowed) return statusLabel(localized("Allowed"));
    auto* button = new QPushButton(localized(grantKey));
    connect(button, &QPushButton::clicked, this, [this, grant = std::move(grant)] {
        grant();
        refreshPermissions();
    });
    return button;
}

void MacSettingsView::refreshPermissions() {
    const auto replace = [](QVBoxLayout* row, QWidget* item) {
        while (QLayoutItem* old = row->takeAt(0)) {
            delete old->widget();
            delete old;
        }
        row->addWidget(item, 0, Qt::AlignLeft);
    };
#ifdef __APPLE__
    replace(browserRow_, permissionItem(!tracker_.browserTabs().browserAutomationDenied(),
                                        "mac.settings.grant.automation",
                                        [this] { tracker_.browserTabs().requestBrowserAutomation(); }));
#else
    // Browsers take no automation scripts here: there is nothing to allow.
    replace(browserRow_, statusLabel(localized("mac.settings.browser.unavailable")));
#endif
    replace(accessibilityRow_, permissionItem(accessibility_.isTrusted(), "mac.settings.grant.accessibility",
                                              [this] { accessibility_.requestTrust(); }));
}

QString MacSettingsView::browserPermissionText() const {
    const QWidget* item = browserRow_->itemAt(0)->widget();
    if (const auto* label = qobject_cast<const QLabel*>(item)) return label->text();
    return static_cast<const QPushButton*>(item)->text();
}

QString MacSettingsView::accessibilityPermissionText() const {
    const QWidget* item = accessibilityRow_->itemAt(0)->widget();
    if (const auto* label = qobject_cast<const QLabel*>(item)) return label->text();
    return static_cast<const QPushButton*>(item)->text();
}

void MacSettingsView::showEvent(QShowEvent* event) {
    refreshPermissions();
    QWidget::showEvent(event);
}

}  // namespace plenda
