#include "IO/ServerAddress.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QUrl>
#include <QtCore/QUrlQuery>

#include <algorithm>
#include <arpa/inet.h>

namespace vlr {

namespace {

CaError addressError(const QString& reason) {
    return CaError("ServerAddress::refused", reason.toStdString());
}

// What follows the authority. An @ in it was meant to end a password that holds a / ? or #.
bool hasStrayAt(const QString& text) {
    static const QRegularExpression begin(QStringLiteral("^[^:]*:(//[^/?#]*)?"));
    return text.mid(begin.match(text).capturedLength()).contains(QLatin1Char('@'));
}

bool isLoopback(const QString& host) {
    in_addr four{};
    in6_addr six{};
    const QByteArray name = host.toLatin1();
    if (inet_pton(AF_INET, name.constData(), &four) == 1)
        return ntohl(four.s_addr) >> 24 == 127;
    return inet_pton(AF_INET6, name.constData(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}

QString defaultRootCertificates() {
    const QString own = QDir::homePath() + QStringLiteral("/.postgresql/root.crt");
    return QFile::exists(own) ? own : QStringLiteral("/etc/ssl/certs/ca-certificates.crt");
}

// The driver replaces semicolons of the options, quoted or not, by blanks.
QString wrongFile(const QString& name, const QString& file) {
    if (!file.startsWith(QLatin1Char('/')) || file.contains(QLatin1Char(';')))
        return QStringLiteral("its \"%1\" is not an absolute name without a semicolon").arg(name);
    return {};
}

QString wrongProtection(const QString& protection) {
    if (protection == QLatin1String("prefer") || protection == QLatin1String("allow"))
        return QStringLiteral("with sslmode=%1 whoever is in between decides about the protection; "
                              "it is not taken")
            .arg(protection);
    for (const char* known : {"verify-full", "verify-ca", "require", "disable"})
        if (protection == QLatin1String(known))
            return {};
    return QStringLiteral("its \"sslmode\" is none of verify-full, verify-ca, require and disable");
}

// Takes one parameter; the answer is what is wrong with it.
QString take(const QString& name, const QString& value, ServerAddress& address) {
    const std::pair<const char*, QString*> files[] = {{"sslrootcert", &address.rootCertificates},
                                                      {"sslcert", &address.certificate},
                                                      {"sslkey", &address.key},
                                                      {"host", &address.host}};
    for (const auto& [known, file] : files)
        if (name == QLatin1String(known)) {
            if (file == &address.host && !address.host.isEmpty())
                return QStringLiteral("it names two hosts");
            *file = value;
            return wrongFile(name, value);
        }
    if (name == QLatin1String("sslmode")) {
        address.protection = value;
        return wrongProtection(value);
    }
    if (name == QLatin1String("connect_timeout")) {
        bool isNumber = false;
        address.timeout = value.toInt(&isNumber);
        return isNumber && address.timeout >= 1 && address.timeout <= 60
                   ? QString()
                   : QStringLiteral("its \"connect_timeout\" is not a number from 1 to 60");
    }
    if (name == QLatin1String("password"))
        return QStringLiteral("a password stands before the host, or better in ~/.pgpass, and not "
                              "among the parameters");
    // Anything else might be a part of a password.
    static const QRegularExpression word(QStringLiteral("^[a-z_]{1,40}$"));
    return word.match(name).hasMatch()
               ? QStringLiteral("the parameter \"%1\" is not known").arg(name)
               : QStringLiteral("it has a parameter that is not known");
}

QString takeParameters(const QUrlQuery& query, ServerAddress& address) {
    QStringList seen;
    for (const auto& [name, value] : query.queryItems(QUrl::FullyDecoded)) {
        const QString wrong = take(name, value, address);
        if (!wrong.isEmpty())
            return wrong;
        if (seen.contains(name))
            return QStringLiteral("it has the parameter \"%1\" twice").arg(name);
        seen << name;
    }
    return {};
}

bool hasControl(const QString& text) {
    return std::any_of(text.begin(), text.end(),
                       [](QChar c) { return c.category() == QChar::Other_Control; });
}

QString wrongForm(const QString& text, const QUrl& url) {
    if (!text.startsWith(QLatin1String("postgresql://")))
        return QStringLiteral("a server is named as in postgresql://user@host:port/database");
    if (!url.isValid() || url.hasFragment() || hasStrayAt(text))
        return QStringLiteral("its URL cannot be understood: in a name or a password %40 stands "
                              "for @, %2F for /, %3F for ?, %23 for # and %25 for %");
    return {};
}

// A value in single quotes, so that no character in it adds an option.
QString option(const char* name, QString value) {
    value.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    value.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return QStringLiteral("%1='%2' ").arg(QLatin1String(name), value);
}

} // namespace

CaError ServerAddress::read(const QString& text, ServerAddress& address) {
    const QUrl url(text);
    QString wrong = wrongForm(text, url);
    if (!wrong.isEmpty())
        return addressError(wrong);
    ServerAddress found;
    found.host = url.host();
    found.port = url.port(found.port);
    found.user = url.userName(QUrl::FullyDecoded);
    found.password = url.password(QUrl::FullyDecoded);
    found.database = url.path(QUrl::FullyDecoded).mid(1);
    wrong = takeParameters(QUrlQuery(url), found);
    if (!wrong.isEmpty())
        return addressError(wrong);
    for (const QString& value : {found.host, found.user, found.password, found.database,
                                 found.rootCertificates, found.certificate, found.key})
        if (hasControl(value))
            return addressError(QStringLiteral("its URL holds a control character"));
    const bool isHere = found.isThisMachine();
    if (found.protection.isEmpty())
        found.protection = isHere ? QStringLiteral("disable") : QStringLiteral("verify-full");
    if (!isHere && found.protection == QLatin1String("disable") && !found.password.isEmpty())
        return addressError(QStringLiteral("a password is not sent without TLS "
                                           "(sslmode=disable)"));
    if (found.rootCertificates.isEmpty() && found.protection.startsWith(QLatin1String("verify-")))
        found.rootCertificates = defaultRootCertificates();
    address = found;
    return CaError::nullError;
}

QString ServerAddress::shown(const QString& text) {
    const QUrl url(text);
    const bool isFile = url.isValid() && url.scheme() == QLatin1String("sqlite");
    if (isFile || (url.isValid() && text.contains(QLatin1String("://")) && !hasStrayAt(text)))
        return url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    static const QRegularExpression scheme(QStringLiteral("^[a-z]{1,20}:"));
    return scheme.match(text).captured() + QStringLiteral("...");
}

bool ServerAddress::isThisMachine() const {
    return host.isEmpty() || host.startsWith(QLatin1Char('/')) ||
           host == QLatin1String("localhost") || isLoopback(host);
}

std::string ServerAddress::whyUnprotected() const {
    if (isThisMachine() || protection == QLatin1String("verify-full"))
        return {};
    const std::string where = "The way to the patients at " + host.toStdString();
    if (protection == QLatin1String("verify-ca"))
        return where + " is not safe: the name of the server is not checked (sslmode=verify-ca).";
    if (protection == QLatin1String("require"))
        return where + " is not safe: the server is not checked (sslmode=require).";
    return where + " is not safe: nothing is encrypted (sslmode=disable).";
}

QString ServerAddress::irregularFile() const {
    if (protection == QLatin1String("disable"))
        return {};
    const struct {
        QString named;
        const char* variable;
        const char* usual;
    } files[] = {{rootCertificates, "PGSSLROOTCERT", "root.crt"},
                 {certificate, "PGSSLCERT", "postgresql.crt"},
                 {key, "PGSSLKEY", "postgresql.key"},
                 {QString(), "PGSSLCRL", "root.crl"}};
    const QString folder = QDir::homePath() + QStringLiteral("/.postgresql/");
    for (const auto& file : files) {
        const QString variable = QFile::decodeName(qgetenv(file.variable));
        const QFileInfo info(!file.named.isEmpty() ? file.named
                             : !variable.isEmpty() ? variable
                                                   : folder + QLatin1String(file.usual));
        if (info.exists() && !info.isFile())
            return info.filePath();
    }
    return {};
}

QString ServerAddress::connectOptions() const {
    // A server that is gone is given up after 2 seconds, whether something was sent to it or is
    // awaited from it. Kerberos' own encryption would go before TLS and check other names. An
    // address from the environment would lead elsewhere than the host.
    QString options = option("connect_timeout", QString::number(timeout)) +
                      QStringLiteral("tcp_user_timeout=2000 keepalives_idle=1 "
                                     "keepalives_interval=1 keepalives_count=1 "
                                     "gssencmode=disable hostaddr='' ") +
                      option("sslmode", protection);
    if (host.isEmpty())
        options += QStringLiteral("host='' ");
    const std::pair<const char*, const QString&> files[] = {
        {"sslrootcert", rootCertificates}, {"sslcert", certificate}, {"sslkey", key}};
    for (const auto& [name, file] : files)
        if (!file.isEmpty())
            options += option(name, file);
    // Below a file that is no folder there is no other file: libpq finds none and says nothing.
    if (protection == QLatin1String("disable") && !isThisMachine())
        options += QStringLiteral("password='' passfile='/dev/null/none' ");
    return options;
}

} // namespace vlr
