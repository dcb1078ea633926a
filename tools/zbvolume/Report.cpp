#include "Report.h"

#include "Failure.h"
#include "Numbers.h"

#include <QJsonDocument>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdio>

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

// "bin width" as a member of a JSON object.
QString member(const std::string& name)
{
    return QString::fromStdString(name).replace(' ', '_');
}

}  // namespace

std::string Table::text(std::size_t maxRows) const
{
    const std::size_t shown = std::min(maxRows, m_rows.size());
    std::vector<std::vector<std::string>> lines(shown + 1);
    for (std::size_t c = 0; c < m_columns.size(); c++) {
        lines[0].push_back(m_columns[c].title);
        for (std::size_t r = 0; r < shown; r++)
            lines[r + 1].push_back(alignedText(m_rows[r][c], m_columns[c].decimals));
        std::size_t width = 0;
        for (const auto& line : lines)
            width = std::max(width, line[c].size());
        for (auto& line : lines)
            line[c].insert(0, width - line[c].size(), ' ');
    }
    std::string result;
    for (const auto& line : lines) {
        for (const auto& cell : line)
            result += "  " + cell;
        result += '\n';
    }
    return result;
}

std::string Table::csv() const
{
    std::string result;
    for (const Column& column : m_columns)
        result.append(column.name).append(&column == &m_columns.back() ? "\n" : ",");
    for (const auto& row : m_rows)
        for (const Cell& cell : row)
            result.append(cellText(cell)).append(&cell == &row.back() ? "\n" : ",");
    return result;
}

QJsonArray Table::json() const
{
    QJsonArray result;
    for (const auto& row : m_rows) {
        QJsonObject object;
        for (std::size_t c = 0; c < row.size(); c++)
            object[member(m_columns[c].name)] = jsonNumber(cellText(row[c]));
        result.append(object);
    }
    return result;
}

void Report::add(const std::string& name, const std::string& value)
{
    m_text += name + ": " + value + '\n';
    m_json[member(name)] = QString::fromStdString(value);
}

void Report::addNumber(const std::string& name, const std::string& number)
{
    m_text += name + ": " + number + '\n';
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
    m_text += name + ": " + joined + (unit.empty() ? "" : " " + unit) + '\n';
    m_json[member(name)] = array;
}

void Report::addList(const std::string& name, const std::vector<std::string>& values)
{
    QJsonArray array;
    for (const auto& value : values) {
        m_text.append(name).append(": ").append(value).append("\n");
        array.append(QString::fromStdString(value));
    }
    m_json[member(name)] = array;
}

void Report::addText(const std::string& paragraph)
{
    m_text += paragraph;
}

void Report::addSection(const std::string& name, const std::string& paragraph, const QJsonValue& value)
{
    m_text += paragraph;
    m_json[member(name)] = value;
}

void print(const Report& report, bool asJson)
{
    const std::string text =
        asJson ? QJsonDocument(report.json()).toJson(QJsonDocument::Indented).toStdString() : report.text();
    errno = 0;
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!written || std::fflush(stdout) != 0)
        throw Failure("standard output", systemCause());
}

QJsonValue jsonNumber(const std::string& number)
{
    const QByteArray digits = QByteArray::fromStdString(number);
    bool isInteger = false;
    const qlonglong integer = digits.toLongLong(&isInteger);
    if (isInteger)
        return QJsonValue(integer);
    const double real = digits.toDouble();
    return std::isfinite(real) ? QJsonValue(real) : QJsonValue();
}

}  // namespace zbvolume
