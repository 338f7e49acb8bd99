// Native charts of the host's windows: rates of groups as bars, a calendar of practice, upcoming reviews, and pace
// against rate.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <wx/window.h>

#include "core/date.h"

class wxGraphicsContext;

namespace qmtrain::host {

// A control that draws itself, with an accessible name and tooltips.
class Drawing : public wxWindow {
protected:
    Drawing(wxWindow* parent, wxSize least);
    // What a screen reader says.
    void Say(std::u16string_view text);
    virtual void Paint(wxGraphicsContext& gc, wxSize size) = 0;
    virtual std::u16string TipAt(wxPoint place) const = 0;
};

// A row for each group: its name, a bar from 0 to 100 percent with a line at the pass mark, the rate, and the number of
// answers.
class RateBars : public Drawing {
public:
    struct Bar {
        std::u16string name = {};
        double rate = 0;
        int times = 0;
    };
    RateBars(wxWindow* parent, std::u16string_view name);
    void SetBars(std::vector<Bar> bars);

private:
    void Paint(wxGraphicsContext& gc, wxSize size) override;
    std::u16string TipAt(wxPoint place) const override;
    int RowHeight() const;

    std::u16string name_;
    std::vector<Bar> bars_;
};

// The days of the last months as squares, a column for each week; the more was practised the fuller the colour.
class Calendar : public Drawing {
public:
    explicit Calendar(wxWindow* parent);
    struct Day {
        int questions = 0;
        int minutes = 0;
    };
    void SetDays(std::map<int, Day> days, Date today);

private:
    void Paint(wxGraphicsContext& gc, wxSize size) override;
    std::u16string TipAt(wxPoint place) const override;
    int Weeks(int width) const;
    int Square() const;
    int FirstDay(int width) const;  // a Monday

    std::map<int, Day> days_;
    int today_ = 0;
};

// Upright columns of counts with a label below each.
class CountColumns : public Drawing {
public:
    struct Count {
        std::u16string label = {};
        int count = 0;
        std::u16string tip = {};
    };
    CountColumns(wxWindow* parent, std::u16string_view name, std::u16string_view unit);
    void SetColumns(std::vector<Count> columns);

private:
    void Paint(wxGraphicsContext& gc, wxSize size) override;
    std::u16string TipAt(wxPoint place) const override;

    std::u16string name_;
    std::u16string unit_;
    std::vector<Count> columns_;
};

// A point for each paper: seconds for a question across, the rate upwards.
class PaceChart : public Drawing {
public:
    explicit PaceChart(wxWindow* parent);
    struct Point {
        double seconds = 0;
        double rate = 0;
    };
    void SetPoints(std::vector<Point> points);

private:
    void Paint(wxGraphicsContext& gc, wxSize size) override;
    std::u16string TipAt(wxPoint place) const override;

    std::vector<Point> points_;
};

}  // namespace qmtrain::host
