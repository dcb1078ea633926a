#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <concepts>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace zbvolume
{

/// Rows of numbers with a heading, shown as aligned text, CSV or JSON.
class Table
{
public:
    struct Column {
        std::string name;   // of the CSV column and the JSON member: "centre_x"
        std::string title;  // over the column: "x"
        int decimals = 0;   // of real values in aligned text; CSV and JSON give them in full
    };
    using Cell = std::variant<std::int64_t, double>;

    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    void addRow(std::vector<Cell> row) { m_rows.push_back(std::move(row)); }
    std::size_t rowCount() const { return m_rows.size(); }

    /// The first maxRows rows, right-aligned.
    std::string text(std::size_t maxRows) const;
    std::string csv() const;
    QJsonArray json() const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

/// What a command found out, gathered once and printed as text or as one JSON object.
class Report
{
public:
    void add(const std::string& name, const std::string& value);
    void add(const std::string& name, const char* value) { add(name, std::string(value)); }
    template <std::integral Integer>
    void add(const std::string& name, Integer value)
    {
        addNumber(name, std::to_string(value));
    }
    /// A number as it is to be shown; the JSON object holds the same figure.
    void addNumber(const std::string& name, const std::string& number);
    /// Several numbers: "256 x 256 x 128" in text, an array in JSON.
    void addNumbers(const std::string& name, const std::vector<std::string>& numbers,
                    const std::string& separator, const std::string& unit = "");
    /// Several texts, a line each, an array in JSON.
    void addList(const std::string& name, const std::vector<std::string>& values);
    /// A paragraph of text alone, such as a picture made of characters.
    void addText(const std::string& paragraph);
    /// A paragraph of text and a member of the JSON object that hold the same.
    void addSection(const std::string& name, const std::string& paragraph, const QJsonValue& value);

    const std::string& text() const noexcept { return m_text; }
    const QJsonObject& json() const noexcept { return m_json; }

private:
    std::string m_text;
    QJsonObject m_json;
};

/// Prints a report on standard output. Throws Failure where that cannot be written.
void print(const Report& report, bool asJson);

/// value as a JSON number; null where JSON has none (infinite values and NaN).
QJsonValue jsonNumber(const std::string& number);

}  // namespace zbvolume
