#include "platform/qt/QtDefaults.h"

#include "base/JsonWriter.h"
#include "platform/qt/QtFiles.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <thread>

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

// Only names the file: the values never go through QSettings off macOS.
[[maybe_unused]] QSettings::Format typedJsonFormat() {
    static const QSettings::Format format = QSettings::registerFormat("json", readTypedJson, writeTypedJson);
    return format;
}

void writeValue(JsonWriter& writer, const DefaultsValue& value) {
    std::visit(
        [&writer](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>) {
                writer.boolean(v);
            } else if constexpr (std::is_same_v<T, double>) {
                if (std::isfinite(v)) writer.number(v);
                else writer.null();  // as JSON has no such number
            } else if constexpr (std::is_same_v<T, std::string>) {
                writer.string(v);
            } else if constexpr (std::is_same_v<T, Data>) {
                const QByteArray bytes = QByteArray::fromRawData(v.bytes.data(), qsizetype(v.bytes.size()));
                writer.beginObject();
                writer.key("$data");
                writer.string(bytes.toBase64().toStdString());
                writer.endObject();
            } else if constexpr (std::is_same_v<T, DefaultsValue::Array>) {
                writer.beginArray();
                for (const DefaultsValue& element : v) writeValue(writer, element);
                writer.endArray();
            } else {
                writer.beginObject();
                for (const auto& [key, element] : v) {
                    writer.key(key);
                    writeValue(writer, element);
                }
                writer.endObject();
            }
        },
        value.value);
}

}  // namespace

struct QtDefaults::File {
    using Clock = std::chrono::steady_clock;

    std::string path;
    // False when an unreadable file could not be moved aside: it is never written over.
    bool writable = true;
    Clock::duration writeDelay;
    std::mutex mutex;  // guards everything below but `writing` and `writes`
    std::map<std::string, std::shared_ptr<const DefaultsValue>> values;
    bool dirty = false;
    bool stopping = false;
    Clock::time_point due;
    std::condition_variable wake;
    // Held while writing, so that two writes never interleave and the newest lands last.
    std::mutex writing;
    std::atomic<int> writes{0};
    std::thread writer;

    void changed() {
        if (dirty || !writable) return;
        dirty = true;
        due = Clock::now() + writeDelay;
        wake.notify_all();
    }

    void writePending() {
        std::lock_guard guard(writing);
        std::map<std::string, std::shared_ptr<const DefaultsValue>> snapshot;
        {
            std::lock_guard lock(mutex);
            if (!dirty) return;
            dirty = false;
            snapshot = values;
        }
        if (QtFiles().writeFileAtomically(path, typedJsonText(snapshot))) {
            std::lock_guard lock(mutex);
            changed();  // tried again later
        } else {
            ++writes;
        }
    }

    void run() {
        std::unique_lock lock(mutex);
        while (true) {
            wake.wait(lock, [this] { return dirty || stopping; });
            if (wake.wait_until(lock, due, [this] { return stopping; })) return;
            lock.unlock();
            writePending();
            lock.lock();
        }
    }
};

std::string QtDefaults::typedJsonText(const std::map<std::string, std::shared_ptr<const DefaultsValue>>& values) {
    JsonWriter writer;
    writer.beginObject();
    for (const auto& [key, value] : values) {
        writer.key(key);
        writeValue(writer, *value);
    }
    writer.endObject();
    return writer.take();
}

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

QtDefaults::QtDefaults(std::unique_ptr<File> file) : file_(std::move(file)) {
    file_->writer = std::thread([file = file_.get()] { file->run(); });
}

QtDefaults::~QtDefaults() {
    if (!file_) return;
    {
        std::lock_guard lock(file_->mutex);
        file_->stopping = true;
        file_->wake.notify_all();
    }
    file_->writer.join();
    file_->writePending();
}

std::unique_ptr<QtDefaults> QtDefaults::forUser(std::ostream& output) {
#ifdef Q_OS_MACOS
    (void)output;
    return std::make_unique<QtDefaults>(std::make_unique<QSettings>());
#else
    return openFile(QSettings(typedJsonFormat(), QSettings::UserScope, "Plenda", "Plenda").fileName(), output);
#endif
}

std::unique_ptr<QtDefaults> QtDefaults::openFile(const QString& path, std::ostream& output, double writeDelay) {
    const QFileInfo info(path);
    QDir().mkpath(info.absolutePath());
    QFile::setPermissions(info.absolutePath(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    auto store = std::make_unique<File>();
    store->path = path.toStdString();
    store->writeDelay = std::chrono::duration_cast<File::Clock::duration>(std::chrono::duration<double>(writeDelay));
    QFile file(path);
    if (file.exists()) {
        QString reason;
        QSettings::SettingsMap map;
        if (!file.open(QIODevice::ReadOnly)) {
            reason = file.errorString();
        } else {
            if (!readTypedJson(file, map)) reason = QStringLiteral("not a settings file");
            file.close();
        }
        for (auto it = map.begin(); reason.isEmpty() && it != map.end(); ++it) {
            if (auto value = fromVariant(it.value()))
                store->values.emplace(it.key().toStdString(), std::make_shared<const DefaultsValue>(std::move(*value)));
        }
        if (!reason.isEmpty()) {
            const QString copy = path + QStringLiteral(".unreadable-") +
                                 QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
            if (QFile::rename(path, copy)) {
                output << "Plenda: the settings file could not be read (" << reason.toStdString() << "); kept it as "
                       << copy.toStdString() << " and started with default settings" << std::endl;
            } else {
                store->writable = false;
                output << "Plenda: the settings file " << path.toStdString() << " could not be read ("
                       << reason.toStdString() << ") nor moved aside; settings will not be saved" << std::endl;
            }
        }
    }
    // Created private before the first write; later atomic rewrites keep the mode.
    if (!file.exists() && file.open(QIODevice::WriteOnly)) file.close();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    return std::unique_ptr<QtDefaults>(new QtDefaults(std::move(store)));
}

std::optional<DefaultsValue> QtDefaults::object(std::string_view key) const {
    if (file_) {
        std::lock_guard lock(file_->mutex);
        const auto found = file_->values.find(std::string(key));
        if (found == file_->values.end()) return std::nullopt;
        return *found->second;
    }
    std::lock_guard guard(mutex_);
    const QVariant variant = settings_->value(qstring(key));
    if (!variant.isValid()) return std::nullopt;
    return fromVariant(variant);
}

void QtDefaults::set(std::string_view key, DefaultsValue value) {
    if (file_) {
        std::lock_guard lock(file_->mutex);
        auto& slot = file_->values[std::string(key)];
        if (slot && *slot == value) return;
        slot = std::make_shared<const DefaultsValue>(std::move(value));
        return file_->changed();
    }
    std::lock_guard guard(mutex_);
    settings_->setValue(qstring(key), toVariant(value));
}

void QtDefaults::remove(std::string_view key) {
    if (file_) {
        std::lock_guard lock(file_->mutex);
        if (file_->values.erase(std::string(key)) > 0) file_->changed();
        return;
    }
    std::lock_guard guard(mutex_);
    settings_->remove(qstring(key));
}

void QtDefaults::synchronize() {
    if (file_) return file_->writePending();
    std::lock_guard guard(mutex_);
    settings_->sync();
}

int QtDefaults::fileWrites() const { return file_ ? file_->writes.load() : 0; }

}  // namespace plenda
