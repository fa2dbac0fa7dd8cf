#pragma once

#include <QString>

class QWidget;

/// Saves a picture of the widget as NAME.png in the folder $KDMX_SCREENSHOTS, which is made if it is missing.
void saveScreenshot(QWidget *widget, const QString &name);
