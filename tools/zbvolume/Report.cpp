#include "Report.h"

#include "Failure.h"
#include "Numbers.h"

#include <QJsonDocument>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

namespace zbvolume
{

namespace
{

std::string cellText(const Table::Cell& cell)
{
    if (const auto* integer = std::get_if<std::int64_t>(&cell))
        return std::to_string(*integer);
    return shortest(std::get<double>(cell));
}

std::string alignedText(const Table::Cell& cell, int decimals)
{
    if (const auto* real = std::get_if<double>(&cell))
        return fixed(*real, decimals);
    return cellText(cell);
}

QJsonValue cellJson(const Table::Cell& cell)
{
    if (const auto* integer = std::get_if<std::int64_t>(&cell))
        return QJsonValue(qint64(*integer));
    const double real = std::get<double>(cell);
    return std::isfinite(real) ? QJsonValue(real) : QJsonValue();
}

// "bin width" as a member of a JSON object.
QString member(const std::string& name)
{
    return QString::fromStdString(name).replace(' ', '_');
}

}  // namespace

// With a fixed number of decimals, the longest text is that of the smallest or of the largest value.
std::size_t Table::textWidth(const Column& column, std::size_t rows) const
{
    std::size_t width = column.title.size();
    const auto makeRoom = [&](const Cell& cell) {
        width = std::max(width, alignedText(cell, column.decimals).size());
    };
    std::optional<std::pair<Cell, Cell>> range;
    for (std::size_t row = 0; row < rows; row++) {
        const Cell cell = column.cell(row);
        if (const auto* real = std::get_if<double>(&cell); real != nullptr && !std::isfinite(*real))
            makeRoom(cell);
        else
            range = range ? std::pair(std::min(range->first, cell), std::max(range->second, cell))
                          : std::pair(cell, cell);
    }
    if (range) {
        makeRoom(range->first);
        makeRoom(range->second);
    }
    return width;
}

void Table::writeText(std::size_t maxRows, const Sink& sink) const
{
    const std::size_t shown = std::min(maxRows, m_rowCount);
    std::vector<std::size_t> widths;
    for (const Column& column : m_columns)
        widths.push_back(textWidth(column, shown));
    const auto writeLine = [&](auto&& textOf) {
        std::string line;
        for (std::size_t c = 0; c < m_columns.size(); c++) {
            const std::string text = textOf(m_columns[c]);
            line.append(2 + widths[c] - text.size(), ' ').append(text);
        }
        sink(line + '\n');
    };
    writeLine([](const Column& column) { return column.title; });
    for (std::size_t row = 0; row < shown; row++)
        writeLine([&](const Column& column) { return alignedText(column.cell(row), column.decimals); });
    if (shown < m_rowCount)
        sink("  ... and " + std::to_string(m_rowCount - shown) + " more (--all shows them)\n");
}

void Table::writeCsv(const Sink& sink) const
{
    const auto writeLine = [&](auto&& textOf) {
        std::string line;
        for (const Column& column : m_columns)
            line.append(textOf(column)).append(&column == &m_columns.back() ? "\n" : ",");
        sink(line);
    };
    writeLine([](const Column& column) { return column.name; });
    for (std::size_t row = 0; row < m_rowCount; row++)
        writeLine([&](const Column& column) { return cellText(column.cell(row)); });
}

QJsonArray Table::json() const
{
    QJsonArray result;
    for (std::size_t row = 0; row < m_rowCount; row++) {
        QJsonObject object;
        for (const Column& column : m_columns)
            object[member(column.name)] = cellJson(column.cell(row));
        result.append(object);
    }
    return result;
}

void Report::add(const std::string& name, const std::string& value)
{
    m_lines += name + ": " + value + '\n';
    m_json[member(name)] = QString::fromStdString(value);
}

void Report::addNumber(const std::string& name, const std::string& number)
{
    m_lines += name + ": " + number + '\n';
    m_json[member(name)] = jsonNumber(number);
}

void Report::addNumbers(const std::string& name, const std::vector<std::string>& numbers,
                        const std::string& separator, const std::string& unit)
{
    std::string joined;
    QJsonArray array;
    for (const auto& number : numbers) {
        joined += (joined.empty() ? "" : separator) + number;
        array.append(jsonNumber(number));
    }
    m_lines += name + ": " + joined + (unit.empty() ? "" : " " + unit) + '\n';
    m_json[member(name)] = array;
}

void Report::addList(const std::string& name, const std::vector<std::string>& values)
{
    QJsonArray array;
    for (const auto& value : values) {
        m_lines.append(name).append(": ").append(value).append("\n");
        array.append(QString::fromStdString(value));
    }
    m_json[member(name)] = array;
}

void Report::addSection(const std::string& name, std::function<void(const Sink&)> text,
                        std::function<QJsonValue()> json)
{
    m_sections.push_back({name, std::move(text), std::move(json)});
}

void Report::writeText(const Sink& sink) const
{
    sink(m_lines);
    for (const Section& section : m_sections)
        section.text(sink);
}

QJsonObject Report::json() const
{
    QJsonObject result = m_json;
    for (const Section& section : m_sections)
        result[member(section.name)] = section.json();
    return result;
}

void print(const Report& report, bool asJson)
{
    errno = 0;
    const Sink sink = [](const std::string& text) {
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
            throw Failure("standard output", systemCause());
    };
    if (asJson)
        sink(QJsonDocument(report.json()).toJson(QJsonDocument::Indented).toStdString());
    else
        report.writeText(sink);
    if (std::fflush(stdout) != 0)
        throw Failure("standard output", systemCause());
}

QJsonValue jsonNumber(const std::string& number)
{
    const QByteArray digits = QByteArray::fromStdString(number);
    bool isInteger = false;
    const qlonglong integer = digits.toLongLong(&isInteger);
    if (isInteger)
        return QJsonValue(integer);
    bool isNumber = false;
    const double real = digits.toDouble(&isNumber);
    return isNumber && std::isfinite(real) ? QJsonValue(real) : QJsonValue();
}

}  // namespace zbvolume
