#pragma once
#include <string>
#include <vector>

// Lines of columns, each as wide as its longest cell. Widths count characters of UTF-8.
class CTextTable {
  public:
    enum class Align { Left, Right };
    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit CTextTable(std::vector<Column> columns) : m_columns(std::move(columns)) {}
    void Add(std::vector<std::string> cells);  // missing cells are empty
    std::string Text() const;

  private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};
