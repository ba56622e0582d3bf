#include "platform/qt/QtDefaults.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace plenda {

namespace {

QString qstring(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// Data is the one type JSON lacks; it travels as {"$data": base64}.
constexpr QLatin1StringView dataTag("$data");

QJsonValue toJson(const QVariant& variant) {
    switch (variant.typeId()) {
        case QMetaType::QByteArray:
            return QJsonObject{{dataTag, QString::fromLatin1(variant.toByteArray().toBase64())}};
        case QMetaType::QVariantList:
        case QMetaType::QStringList: {
            QJsonArray array;
            for (const QVariant& element : variant.toList()) array.append(toJson(element));
            return array;
        }
        case QMetaType::QVariantMap: {
            QJsonObject object;
            const QVariantMap map = variant.toMap();
            for (auto it = map.begin(); it != map.end(); ++it) object.insert(it.key(), toJson(it.value()));
            return object;
        }
        default:
            return QJsonValue::fromVariant(variant);
    }
}

QVariant fromJson(const QJsonValue& json) {
    if (json.isObject()) {
        const QJsonObject object = json.toObject();
        if (object.size() == 1 && object.contains(dataTag) && object.value(dataTag).isString())
            return QByteArray::fromBase64(object.value(dataTag).toString().toLatin1());
        QVariantMap map;
        for (auto it = object.begin(); it != object.end(); ++it) map.insert(it.key(), fromJson(it.value()));
        return map;
    }
    if (json.isArray()) {
        QVariantList list;
        for (const QJsonValue& element : json.toArray()) list.append(fromJson(element));
        return list;
    }
    return json.toVariant();
}

bool readTypedJson(QIODevice& device, QSettings::SettingsMap& map) {
    const QByteArray bytes = device.readAll();
    if (bytes.trimmed().isEmpty()) return true;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (!document.isObject()) return false;
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) map.insert(it.key(), fromJson(it.value()));
    return true;
}

bool writeTypedJson(QIODevice& device, const QSettings::SettingsMap& map) {
    QJsonObject object;
    for (auto it = map.begin(); it != map.end(); ++it) object.insert(it.key(), toJson(it.value()));
    return device.write(QJsonDocument(object).toJson(QJsonDocument::Indented)) >= 0;
}

}  // namespace

QVariant toVariant(const DefaultsValue& value) {
    return std::visit(
        [](const auto& v) -> QVariant {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, double>) {
                return QVariant(v);
            } else if constexpr (std::is_same_v<T, std::string>) {
                return qstring(v);
            } else if constexpr (std::is_same_v<T, Data>) {
                return QByteArray(v.bytes.data(), static_cast<qsizetype>(v.bytes.size()));
            } else if constexpr (std::is_same_v<T, DefaultsValue::Array>) {
                QVariantList list;
                for (const DefaultsValue& element : v) list.append(toVariant(element));
                return list;
            } else {
                QVariantMap map;
                for (const auto& [key, element] : v) map.insert(qstring(key), toVariant(element));
                return map;
            }
        },
        value.value);
}

std::optional<DefaultsValue> fromVariant(const QVariant& variant) {
    switch (variant.typeId()) {
        case QMetaType::Bool:
            return DefaultsValue(variant.toBool());
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::Float:
            return DefaultsValue(variant.toDouble());
        case QMetaType::QString:
            return DefaultsValue(variant.toString().toStdString());
        case QMetaType::QByteArray: {
            const QByteArray bytes = variant.toByteArray();
            return DefaultsValue(Data{std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()))});
        }
        case QMetaType::QStringList:
        case QMetaType::QVariantList: {
            DefaultsValue::Array array;
            for (const QVariant& element : variant.toList()) {
                if (auto value = fromVariant(element)) array.push_back(std::move(*value));
            }
            return DefaultsValue(std::move(array));
        }
        case QMetaType::QVariantMap:
        case QMetaType::QVariantHash: {
            DefaultsValue::Dictionary dictionary;
            const QVariantMap map = variant.toMap();
            for (auto it = map.begin(); it != map.end(); ++it) {
                if (auto value = fromVariant(it.value()))
                    dictionary.emplace(it.key().toStdString(), std::move(*value));
            }
            return DefaultsValue(std::move(dictionary));
        }
        default:
            return std::nullopt;
    }
}

QtDefaults::QtDefaults(std::unique_ptr<QSettings> settings) : settings_(std::move(settings)) {}

QSettings::Format QtDefaults::typedJsonFormat() {
    static const QSettings::Format format = QSettings::registerFormat("json", readTypedJson, writeTypedJson);
    return format;
}

std::unique_ptr<QtDefaults> QtDefaults::forUser(std::ostream& output) {
#ifdef Q_OS_MACOS
    (void)output;
    return std::make_unique<QtDefaults>(std::make_unique<QSettings>());
#else
    return openFile(QSettings(typedJsonFormat(), QSettings::UserScope, "Plenda", "Plenda").fileName(), output);
#endif
}

std::unique_ptr<QtDefaults> QtDefaults::openFile(const QString& path, std::ostream& output) {
    const QFileInfo info(path);
    QDir().mkpath(info.absolutePath());
    QFile::setPermissions(info.absolutePath(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    QFile file(path);
    if (file.exists()) {
        QString reason;
        if (!file.open(QIODevice::ReadOnly)) {
            reason = file.errorString();
        } else {
            QSettings::SettingsMap ignored;
            if (!readTypedJson(file, ignored)) reason = QStringLiteral("not a settings file");
            file.close();
        }
        if (!reason.isEmpty()) {
            const QString copy = path + QStringLiteral(".unreadable-") +
                                 QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
            if (QFile::rename(path, copy)) {
                output << "Plenda: the settings file could not be read (" << reason.toStdString() << "); kept it as "
                       << copy.toStdString() << " and started with default settings" << std::endl;
            } else {
                // Only an unwritable folder stops the move, and then no save can replace the file either.
                output << "Plenda: the settings file " << path.toStdString() << " could not be read ("
                       << reason.toStdString() << ") nor moved aside; settings will not be saved" << std::endl;
            }
        }
    }
    // Created private before the first write; later atomic rewrites keep the mode.
    if (!file.exists() && file.open(QIODevice::WriteOnly)) file.close();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    return std::make_unique<QtDefaults>(std::make_unique<QSettings>(path, typedJsonFormat()));
}

std::optional<DefaultsValue> QtDefaults::object(std::string_view key) const {
    std::lock_guard guard(mutex_);
    const QVariant variant = settings_->value(qstring(key));
    if (!variant.isValid()) return std::nullopt;
    return fromVariant(variant);
}

void QtDefaults::set(std::string_view key, DefaultsValue value) {
    std::lock_guard guard(mutex_);
    settings_->setValue(qstring(key), toVariant(value));
}

void QtDefaults::remove(std::string_view key) {
    std::lock_guard guard(mutex_);
    settings_->remove(qstring(key));
}

void QtDefaults::synchronize() {
    std::lock_guard guard(mutex_);
    settings_->sync();
}

}  // namespace plenda
