#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <concepts>
#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace zbvolume
{

/// Where text goes, piece by piece.
using Sink = std::function<void(const std::string&)>;

/// Rows of numbers with a heading, shown as aligned text, CSV or JSON.
///
/// The cells are asked for when they are shown: noise has millions of objects, whose rows take many times the
/// memory of what they are made from.
class Table
{
public:
    using Cell = std::variant<std::int64_t, double>;
    struct Column {
        std::string name;   // of the CSV column and the JSON member: "x_mm"
        std::string title;  // over the column: "x mm"
        int decimals;       // of real values in aligned text; CSV and JSON give them in full
        std::function<Cell(std::size_t row)> cell;
    };

    Table(std::vector<Column> columns, std::size_t rowCount)
        : m_columns(std::move(columns)), m_rowCount(rowCount)
    {
    }

    /// The first maxRows rows, right-aligned, and how many more there are.
    void writeText(std::size_t maxRows, const Sink& sink) const;
    void writeCsv(const Sink& sink) const;
    QJsonArray json() const;

private:
    std::size_t textWidth(const Column& column, std::size_t rows) const;

    std::vector<Column> m_columns;
    std::size_t m_rowCount;
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
    /// Paragraphs behind all lines and a member of the JSON object that hold the same. Only one of the two
    /// is asked for, when the report is printed.
    void addSection(const std::string& name, std::function<void(const Sink&)> text,
                    std::function<QJsonValue()> json);

    void writeText(const Sink& sink) const;
    QJsonObject json() const;

private:
    struct Section {
        std::string name;
        std::function<void(const Sink&)> text;
        std::function<QJsonValue()> json;
    };

    std::string m_lines;
    QJsonObject m_json;  // of the lines
    std::vector<Section> m_sections;
};

/// Prints a report on standard output. Throws Failure where that cannot be written.
void print(const Report& report, bool asJson);

/// value as a JSON number; null where JSON has none (infinite values and NaN).
QJsonValue jsonNumber(const std::string& number);

}  // namespace zbvolume
