#pragma once

#include "display/GraphMapping.h"
#include "display/GraphTable.h"
#include "display/SampleArrays.h"

#include <QWidget>
#include <array>

class QCheckBox;
class QComboBox;
class MyPict;
class PictLine;
class Station;
class YLabelColumn;

// The trend graph: one screen of N points of one analyzer drawn as a running
// line on a blue 5 x 5 grid, with the Y and X scale boxes, "Log Y", "Synchro",
// the two limit lines and a cursor read-out. The main frame puts it into its
// MDI area; the window title is its caption.
class frmOscil : public QWidget, public TrendGraph
{
    Q_OBJECT
public:
    explicit frmOscil(Station& station, QWidget* parent = nullptr);
    ~frmOscil() override;

    // Per-component Y scale (10000 for every component at load). Entry 8 also
    // records the Y extent of every scale change.
    int GetabScaleY(int component) const;
    void SetabScaleY(int component, float value);

    // Prepares the picture for `points` points per screen and a Y axis up to
    // `yExtent` (a decimal logarithm for InitPict): grid, captions, coordinates
    // and limit lines. False, after "InitPict Error", for unusable arguments.
    bool InitPictLine(int points, float yExtent, int xGrid = 4, int yGrid = 4);
    bool InitPict(int points, float yExtent, int xGrid = 4, int yGrid = 4);
    // Redraws the points held (through Log10 when "Log Y" is ticked; always for
    // showArrayLog).
    void showArray();
    void showArrayLog();
    // Prepares the picture for the current scales and redraws the points held.
    void ReInitPict();
    // Clears the points held: the trace starts again at the left edge.
    void ClsOscil();

    // Fills the Y list: linear (14 entries, "1000" chosen and applied) or
    // logarithmic (9 entries, none chosen).
    void LoadScaleYList(bool linear);
    void LoadScaleXList();

    // The value that SetNewPoint stores next (ppm x10).
    qint32 newValue = 0;
    // Adds newValue as the next point and draws it.
    bool SetNewPoint();
    // The reading path's entry: adds curValue, rounded, as the next point.
    bool SetNewPointA() override;

    // Apply a scale to this window only (synchro mode calls them on every window).
    bool SetScalesX(int pointsPerScreen) override;
    bool SetScalesY(double scaleValue) override;
    void setSynchro(bool on) override;

    // Limit lines: lnY1 marks threshold 1, lnY2 threshold 2.
    void SetLimit1Y(qint32 limit) override;
    void SetLimit2Y(qint32 limit) override;
    void SetLimit1YLog(float limit);
    void SetLimit2YLog(float limit);

    // Caption of Y label i (0 at the bottom edge .. yGrid + 1 at the top edge).
    bool SetYLbl(int i, const QString& text);

    // List indices of the scale boxes, as kept in the settings; an index
    // outside a list is ignored. Reading gives -1 for a typed-in scale.
    void setScaleIndices(int yIndex, int xIndex);
    int scaleYIndex() const;
    int scaleXIndex() const;

    // Set by the main frame from its cursor menu option: the cursor line and
    // read-out follow the mouse over the picture only when it is true.
    bool cursorOption = false;

    int pointsPerScreen() const { return arrays_.pointsPerScreen(); }
    int pointCount() const { return arrays_.pointCount(); }
    const SampleArrays& arrays() const { return arrays_; }
    float yExtent() const { return yExtent_; }
    double scaleValue() const { return scaleValue_; }
    MyPict* picture() const { return pict_; }

Q_SIGNALS:
    // "CH4(ppm)=<value> (<date-time>)" for the point under the mouse.
    void cursorText(const QString& text);

private:
    void buildUi();
    TraceTransform transform() const;
    bool storePoint(qint32 value);
    bool prepare();
    void writeYLabels(const GraphAxes& axes, bool log);
    void showScaleText(QComboBox* box, const QString& text);
    void placeLimit(PictLine* line, double y);
    template <typename F> void forEachSynchroGraph(F&& f);

    void scaleYCommitted();
    void scaleXCommitted();
    void synchroClicked(bool on);
    void pictMouseMoved(QPointF pos);
    void pictMouseLeft();

    Station& station_;
    GraphTable& table_; // the station's graph windows, this one among them once placed
    SampleArrays arrays_;
    double scaleValue_ = 1000; // the chosen full scale, ppm x10
    double labelValue_ = 1000; // the full scale the captions divide
    float yExtent_ = 1000;
    qint32 limit1_;
    qint32 limit2_;
    std::array<float, 10> abScaleY_;

    QComboBox* cmbScaleY_ = nullptr;
    QComboBox* cmbScaleX_ = nullptr;
    QCheckBox* chkLog_ = nullptr;
    QCheckBox* chkSynh_ = nullptr;
    YLabelColumn* yLabels_ = nullptr;
    MyPict* pict_ = nullptr;
    PictLine* lnY1_ = nullptr;
    PictLine* lnY2_ = nullptr;
    PictLine* lnCursor_ = nullptr;
};
