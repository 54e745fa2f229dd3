#include "ui/qt/ShownValues.h"

#include "ui/qt/QtText.h"

namespace zolvex {

HeaderValue HeaderValue::from(const HeaderPresentation& header) {
  HeaderValue value;
  value.title = qString(header.title);
  value.subtitle = qString(header.subtitle);
  value.showsSpinner = header.showsSpinner;
  value.symbol = qString(header.symbol);
  value.colour = qString(header.colour);
  value.showsCancel = header.showsCancel;
  value.cancel = qString(header.cancel);
  return value;
}

ActionValue ActionValue::from(const ActionButton& button) {
  ActionValue value;
  value.text = qString(button.text);
  value.symbol = qString(button.symbol);
  value.tint = qString(button.tint);
  return value;
}

SectionValue SectionValue::from(const SectionHeader& header, bool isExpanded) {
  SectionValue value;
  value.symbol = qString(header.symbol);
  value.title = qString(header.title);
  value.summary = qString(header.summary);
  value.chevron = qString(header.chevron);
  value.isExpanded = isExpanded;
  return value;
}

PeerValue PeerValue::from(const PeerRow& row) {
  PeerValue value;
  value.name = qString(row.name);
  value.dot = qString(row.dot);
  value.detail = qString(row.detail);
  value.button = qString(row.button);
  value.isProminent = row.isProminent;
  value.tint = qString(row.tint);
  return value;
}

ToggleValue ToggleValue::from(const ToggleRow& row) {
  ToggleValue value;
  value.title = qString(row.title);
  value.isOn = row.isOn;
  value.hint = qString(row.hint);
  value.tooltip = qString(row.tooltip);
  return value;
}

AlertValue AlertValue::from(const AlertPresentation& alert) {
  AlertValue value;
  value.title = qString(alert.title);
  value.message = qString(alert.message);
  value.cancel = qString(alert.cancel);
  value.confirm = qString(alert.confirm);
  return value;
}

}  // namespace zolvex
