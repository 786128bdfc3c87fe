#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <variant>
#include <vector>

// A value in JSON: nothing (null), a number, a text, a list, or a record of fields in their order.
class Value {
  public:
    struct Field;
    using List = std::vector<Value>;
    using Record = std::vector<Field>;

    Value();
    Value(int number);
    Value(double number);
    Value(std::string text);
    // A null pointer is nothing.
    Value(char const * text);
    Value(List list);
    Value(Record record);

    using Any = std::variant<std::monostate, double, std::string, List, Record>;
    Any const & any() const { return any_; }

  private:
    Any any_;
};

struct Value::Field {
    std::string key;
    Value value;
};

// A value in a row, and how the table shows it: nothing as a blank, a number with up to six digits,
// a text as it is, unless the text to show is given. Lists and records need one.
struct Cell {
    template <class T>
    Cell(T const & shown) : Cell(Value(shown)) {}
    Cell(Value shown);
    Cell(Value stored, std::string shown);

    Value value;
    std::string text;
};

// What a command lists: rows of cells, printed as a table for people or as JSON for programs.
class Listing {
  public:
    struct Column {
        std::string key;  // in JSON
        std::string heading;
    };

    explicit Listing(std::vector<Column> columns);

    // Requires: as many cells as there are columns.
    void add(std::vector<Cell> row);

    void print(std::ostream & out, bool asJson) const;
    // The columns are as wide as needed, two spaces apart, below their headings.
    void printTable(std::ostream & out) const;
    // An array with one object for each row, indented by two. Numbers are written as integers where
    // possible, and read back unchanged; those that are not finite are null. Invalid UTF-8 in a
    // text is replaced.
    void printJson(std::ostream & out) const;

  private:
    std::vector<std::size_t> widths() const;

    std::vector<Column> columns_;
    std::vector<std::vector<Cell>> rows_;
};

// The shortest text that reads back as the same number; whole numbers up to 2^53 in full.
std::string textOfNumber(double number);
// "0 to 255"
std::string textOfRange(double min, double max);
