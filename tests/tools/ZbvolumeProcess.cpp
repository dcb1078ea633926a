#include "ZbvolumeProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>

namespace
{

QStringList toList(const std::vector<std::string>& arguments)
{
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    return list;
}

Outcome outcomeOf(QProcess& process)
{
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(120000)) << process.errorString().toStdString();
    Outcome outcome;
    outcome.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -process.exitCode();
    outcome.out = process.readAllStandardOutput().toStdString();
    outcome.err = process.readAllStandardError().toStdString();
    return outcome;
}

void prepare(QProcess& process, const QString& folder)
{
    process.setWorkingDirectory(folder);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Under AddressSanitizer a request that cannot be met answers null, as it does everywhere else.
    environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":allocator_may_return_null=1");
    process.setProcessEnvironment(environment);
}

}  // namespace

QJsonObject Outcome::json() const
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
}

std::string Outcome::value(const std::string& name) const
{
    const std::string text = "\n" + out;
    const auto at = text.find("\n" + name + ": ");
    if (at == std::string::npos)
        return "no " + name;
    const auto start = at + name.size() + 3;
    return text.substr(start, text.find('\n', start) - start);
}

std::vector<std::string> ZbvolumeTest::files() const
{
    std::vector<std::string> names;
    const auto entries = QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString& name : entries)
        names.push_back(name.toStdString());
    return names;
}

Outcome ZbvolumeTest::zbvolume(const std::vector<std::string>& arguments) const
{
    QProcess process;
    start(process, arguments);
    return outcomeOf(process);
}

Outcome ZbvolumeTest::zbvolumeAfter(const std::string& shellCode,
                                    const std::vector<std::string>& arguments) const
{
    QProcess process;
    prepare(process, m_folder.path());
    process.start(
        "sh", QStringList{"-c", QString::fromStdString(shellCode + " exec \"$0\" \"$@\""), ZBVOLUME_PROGRAM} +
                  toList(arguments));
    return outcomeOf(process);
}

void ZbvolumeTest::start(QProcess& process, const std::vector<std::string>& arguments) const
{
    prepare(process, m_folder.path());
    process.start(ZBVOLUME_PROGRAM, toList(arguments));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);  // for QProcess
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
