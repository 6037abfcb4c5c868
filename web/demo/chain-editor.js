// The chain editor of the demo page: effects from the catalogue, each with its parameters as
// labelled sliders (ranges, defaults and units from the catalogue) or a checkbox for a switch.
import { OstranaEffects } from "../dist/index.js";

const catalogue = OstranaEffects.catalogue;


function typeOf(name) {
  return catalogue.nodeTypes.find((t) => t.shortName === name);
}

function formatValue(definition, value) {
  if (definition.kind === "switch") return value > 0 ? "on" : "off";
  const text = definition.kind === "whole number" ? String(Math.round(value)) : String(Number(value.toPrecision(4)));
  return definition.unit ? `${text} ${definition.unit}` : text;
}

function parameterControl(item, definition, onValue) {
  const id = `p${item.id}-${definition.name}`;
  const row = document.createElement("div");
  row.className = "parameter";
  const label = document.createElement("label");
  label.htmlFor = id;
  label.textContent = definition.name + (definition.unit ? ` (${definition.unit})` : "");
  label.title = definition.description;
  const input = document.createElement("input");
  input.id = id;
  input.dataset.parameter = definition.name;
  const shown = document.createElement("output");
  shown.htmlFor = id;
  const value = item.values[definition.name];
  if (definition.kind === "switch") {
    input.type = "checkbox";
    input.checked = value > 0;
  } else {
    input.type = "range";
    input.min = definition.minValue;
    input.max = definition.maxValue;
    input.step = definition.kind === "whole number" ? 1 : (definition.maxValue - definition.minValue) / 1000;
    input.value = value;
  }
  input.setAttribute("aria-describedby", `${id}-about`);
  const about = document.createElement("span");
  about.id = `${id}-about`;
  about.hidden = true;
  about.textContent = `${definition.description} ${definition.minValue} to ${definition.maxValue}${definition.unit ? " " + definition.unit : ""}.`;
  shown.textContent = formatValue(definition, value);
  input.addEventListener("input", () => {
    const next = definition.kind === "switch" ? (input.checked ? 1 : 0) : Number(input.value);
    item.values[definition.name] = next;
    shown.textContent = formatValue(definition, next);
    onValue(item, definition.name, next);
  });
  row.append(label, input, shown, about);
  return row;
}

function chainButton(text, label, action) {
  const button = document.createElement("button");
  button.type = "button";
  button.textContent = text;
  button.setAttribute("aria-label", label);
  button.addEventListener("click", action);
  return button;
}

function presetControl(item, type, onPreset) {
  const row = document.createElement("div");
  row.className = "row";
  const id = `preset${item.id}`;
  const label = document.createElement("label");
  label.htmlFor = id;
  label.textContent = "Preset";
  const select = document.createElement("select");
  select.id = id;
  select.append(new Option(type.presets.length ? "Choose…" : "none in the catalogue yet", ""));
  for (const preset of type.presets) select.append(new Option(preset.displayName, preset.name));
  select.disabled = type.presets.length === 0;
  select.addEventListener("change", () => {
    const preset = type.presets.find((p) => p.name === select.value);
    if (!preset) return;
    Object.assign(item.values, preset.parameters);
    onPreset();
  });
  row.append(label, select);
  return row;
}

// The chain as a list of fieldsets, one per effect: its name, buttons to move and remove it,
// its presets and a control per parameter. items holds { id, type, values }; onStructure is
// called when effects are added, moved or removed (or a preset replaces values), onValue when
// one value changes.
export class ChainEditor {
  constructor(list, emptyNote, { onStructure, onValue }) {
    this.list = list;
    this.emptyNote = emptyNote;
    this.onStructure = onStructure;
    this.onValue = onValue;
    this.items = [];
    this.nextId = 1;
    this.draw();
  }

  // { type, parameters } of every effect, in order, as renderOffline takes them.
  settings() {
    return this.items.map((item) => ({ type: item.type, parameters: { ...item.values } }));
  }

  add(typeName) {
    const type = typeOf(typeName);
    const values = {};
    for (const p of type.parameters) values[p.name] = p.defaultValue;
    this.items.push({ id: this.nextId++, type: typeName, values });
    this.changed();
  }

  move(index, step) {
    const to = index + step;
    if (to < 0 || to >= this.items.length) return;
    [this.items[index], this.items[to]] = [this.items[to], this.items[index]];
    this.changed();
  }

  remove(index) {
    this.items.splice(index, 1);
    this.changed();
  }

  changed() {
    this.draw();
    this.onStructure();
  }

  draw() {
    this.list.replaceChildren();
    this.items.forEach((item, index) => {
      const type = typeOf(item.type);
      const li = document.createElement("li");
      const fieldset = document.createElement("fieldset");
      const legend = document.createElement("legend");
      legend.textContent = type.displayName;
      const tools = document.createElement("div");
      tools.className = "row";
      const name = type.displayName;
      tools.append(
        chainButton("↑", `Move ${name} earlier`, () => this.move(index, -1)),
        chainButton("↓", `Move ${name} later`, () => this.move(index, 1)),
        chainButton("Remove", `Remove ${name}`, () => this.remove(index)),
      );
      fieldset.append(legend, tools, presetControl(item, type, () => this.changed()));
      for (const definition of type.parameters) {
        fieldset.append(parameterControl(item, definition, this.onValue));
      }
      li.append(fieldset);
      this.list.append(li);
    });
    this.emptyNote.hidden = this.items.length > 0;
  }
}
