#pragma once

#include <QWidget>

#include <iosfwd>
#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QVBoxLayout;

namespace plenda {

class Accessibility;
class Defaults;
class IconProvider;
class LoginItem;
class MacAppTracker;

// The settings window's content: General (login item), Tracking (thresholds
// and ignored applications) and Privacy (the two permissions), 460 x 330.
class MacSettingsView final : public QWidget {
public:
    struct Dependencies {
        Defaults& defaults;
        MacAppTracker& tracker;
        LoginItem& loginItem;
        Accessibility& accessibility;
        const IconProvider& icons;
        std::ostream& output;
    };

    explicit MacSettingsView(Dependencies dependencies, QWidget* parent = nullptr);

    QTabWidget* tabs() const { return tabs_; }
    QCheckBox* launchAtLoginToggle() const { return launch_; }
    // The three pickers in order: idle, merge gap, minimum session.
    const std::vector<QComboBox*>& pickers() const { return pickers_; }
    const std::vector<std::string>& ignored() const { return ignored_; }
    QLineEdit* newIgnoredField() const { return newIgnored_; }
    QPushButton* addButton() const { return add_; }
    void removeIgnored(const std::string& identifier);
    void addIgnored();
    // The two permission rows' texts: "Allowed" or the grant button's title.
    QString browserPermissionText() const;
    QString accessibilityPermissionText() const;
    // Re-reads the permissions, as when the content is drawn again.
    void refreshPermissions();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* generalTab();
    QWidget* trackingTab();
    QWidget* privacyTab();
    void rebuildIgnoredRows();
    QWidget* permissionItem(bool allowed, const char* grantKey, std::function<void()> grant);
    QWidget* statusLabel(const QString& text);

    Defaults& defaults_;
    MacAppTracker& tracker_;
    LoginItem& loginItem_;
    Accessibility& accessibility_;
    const IconProvider& icons_;
    std::ostream& output_;

    QTabWidget* tabs_;
    QCheckBox* launch_ = nullptr;
    std::vector<QComboBox*> pickers_;
    std::vector<std::string> ignored_;
    QVBoxLayout* ignoredRows_ = nullptr;
    QLineEdit* newIgnored_ = nullptr;
    QPushButton* add_ = nullptr;
    QVBoxLayout* browserRow_ = nullptr;
    QVBoxLayout* accessibilityRow_ = nullptr;
};

}  // namespace plenda
