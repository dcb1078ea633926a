#pragma once

#include <zblib/foundation/ZbExport.h>

#include <QString>

/// Named settings, read from and written to the environment of the process.
///
/// A name comes without a prefix. Reading asks for the running product's own setting first
/// (`KELDA_DEBUG` after setProductName("Kelda")) and for the library's (`HX_DEBUG`) where that is unset or
/// empty; writing always goes to the library's. A verbatim name is taken as it stands. A setting whose text
/// is empty counts as unset.
///
/// Names and texts go out as UTF-8, texts come back as Latin-1: text outside ASCII does not survive the
/// way out and back. Nothing throws: a missing setting is empty, text that is no number gives the default.
/// What is written is seen by getenv and by child processes. The environment itself is guarded by Qt, so
/// several threads may read and write settings; the product name is set once, before there are threads.
class ZB_API ZbEnvironment
{
public:
    /// Makes NAME_ the prefix that is asked first.
    static void setProductName(const QString& name);
    /// The prefix with its underscore; empty before setProductName.
    static const QString& getProductName();

    static QString getValue(const QString& name, const bool& verbatim = false);
    static bool exists(const QString& name, const bool& verbatim = false);

    static QString getString(const QString& name, const QString& defaultValue, const bool& verbatim = false);
    /// Decimal. Text that is no int, or one out of range, gives the default.
    static int getInt(const QString& name, const int& defaultValue, const bool& verbatim = false);
    static double getDouble(const QString& name, const double& defaultValue, const bool& verbatim = false);
    static float getFloat(const QString& name, const float& defaultValue, const bool& verbatim = false);
    /// "1", and "true" and "t" in any case, are true; every other text is false, the default only stands in
    /// for a setting that is unset.
    static bool getBool(const QString& name, const bool& defaultValue, const bool& verbatim = false);

    /// Writes HX_name, whatever the product: a product's own settings belong to its user.
    static void setValue(const QString& name, const QString& value, const bool& verbatim = false);
    static void setString(const QString& name, const QString& value, const bool& verbatim = false);
    static void setInt(const QString& name, const int& value, const bool& verbatim = false);
    /// Six significant digits.
    static void setDouble(const QString& name, const double& value, const bool& verbatim = false);
    static void setFloat(const QString& name, const float& value, const bool& verbatim = false);
    /// Stored as "1" or "0".
    static void setBool(const QString& name, const bool& value, const bool& verbatim = false);
};
