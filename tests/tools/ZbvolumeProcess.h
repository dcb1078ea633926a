#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// What one run of zbvolume gave.
struct Outcome {
    int status = -1;  // exit status, or minus the signal that ended it
    std::string out;
    std::string err;

    /// Standard output as JSON; empty where it is none.
    QJsonObject json() const;
    /// What stands behind "name: " in the text.
    std::string value(const std::string& name) const;
};

/// A test with a folder of its own, in which zbvolume runs.
class ZbvolumeTest : public ::testing::Test
{
protected:
    std::string path(const std::string& name) const { return m_folder.filePath(name.c_str()).toStdString(); }
    /// The files in the folder, hidden ones too, in order.
    std::vector<std::string> files() const;

    Outcome zbvolume(const std::vector<std::string>& arguments) const;
    /// The same, with shell code in front of it: "ulimit -f 8;".
    Outcome zbvolumeAfter(const std::string& shellCode, const std::vector<std::string>& arguments) const;
    void start(QProcess& process, const std::vector<std::string>& arguments) const;

private:
    QTemporaryDir m_folder;
};
