// The selection window over a scene, with a response that records what it is told.
#pragma once

#include "tests/Update/ui/ProductsScene.h"
#include "tests/support/Windows.h"

#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>

#include <functional>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

class RecordingResponse final : public IProductsResponse {
public:
    void SelectProductsResponse(const std::vector<CFileSec*>* files) override
    {
        answers.push_back(files ? std::optional(*files) : std::nullopt);
        windowWasClosed = windows::shown().empty();
        if (then)
            then();
    }

    std::vector<std::optional<std::vector<CFileSec*>>> answers; ///< nullopt where the user declined
    bool windowWasClosed = false;
    std::function<void()> then;
};

class ProductsFixture : public testing::Test {
protected:
    int show() { return wind.ShowWnd(&scene.files, &scene.mandatory, &scene.optional, &scene.products); }
    QTreeWidget* tree() { return windows::control<QTreeWidget>("trev1"); }
    QPushButton* ok() { return windows::control<QPushButton>("butn_OK"); }
    QPushButton* later() { return windows::control<QPushButton>("butn_Later"); }
    std::string line() { return windows::control<QLabel>("view11")->text().toStdString(); }
    QTreeWidgetItem* branch(int index) { return tree()->topLevelItem(index); }
    QTreeWidgetItem* child(int branchIndex, int index) { return branch(branchIndex)->child(index); }
    static std::string text(const QTreeWidgetItem* item) { return item->text(0).toStdString(); }
    static int state(const QTreeWidgetItem* item) { return item->data(0, Qt::UserRole).toInt(); }

    /// Clicks into the icon, which begins a row after its indentation.
    void clickBox(QTreeWidgetItem* item) { clickAt(item, 12); }
    void clickText(QTreeWidgetItem* item) { clickAt(item, 40); }
    void clickAt(QTreeWidgetItem* item, int fromLeft)
    {
        tree()->scrollToItem(item);
        const QRect row = tree()->visualItemRect(item);
        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {}, {row.left() + fromLeft, row.center().y()});
    }
    std::vector<CFileSec*> chosen()
    {
        std::vector<CFileSec*> files;
        wind.CalcNeedUpdateFiles(files);
        return files;
    }

    ProductsScene scene;
    RecordingResponse response;
    PAuProductsWind wind {response};
};
