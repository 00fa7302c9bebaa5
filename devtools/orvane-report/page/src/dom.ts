/** Elements are made of texts and children only: nothing of an archive is ever read as markup. */
type Child = Node | string | null | undefined | false;
type Attributes = Record<string, string | number | boolean | ((event: never) => void) | undefined>;

export function el<K extends keyof HTMLElementTagNameMap>(
  tag: K, attributes: Attributes = {}, ...children: Child[]
): HTMLElementTagNameMap[K] {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") node.addEventListener(name.slice(2), value as EventListener);
    else if (value === true) node.setAttribute(name, "");
    else if (value !== false && value !== undefined) node.setAttribute(name, String(value));
  }
  node.append(...children.filter((child): child is Node | string => !!child));
  return node;
}

export const byId = (id: string): HTMLElement => document.getElementById(id)!;

export function fill(node: HTMLElement, ...children: Child[]): void {
  node.replaceChildren(...children.filter((child): child is Node | string => !!child));
}

/** A table of texts; the first row is the head. */
export function table(head: string[], rows: (string | Node)[][]): HTMLTableElement {
  return el("table", {}, el("thead", {}, el("tr", {}, ...head.map((text) => el("th", { scope: "col" }, text)))),
    el("tbody", {}, ...rows.map((row) => el("tr", {}, ...row.map((cell) => el("td", {}, cell))))));
}

export function dialog(title: string, ...children: Child[]): HTMLDialogElement {
  const box = el("dialog", { "aria-label": title },
    el("header", {}, el("h2", {}, title),
      el("button", { class: "icon", "aria-label": "Close", onclick: () => box.close() }, "✕")),
    ...children);
  box.addEventListener("close", () => box.remove());
  document.body.append(box);
  box.showModal();
  return box;
}

export function save(name: string, bytes: BlobPart, type: string): void {
  const url = URL.createObjectURL(new Blob([bytes], { type }));
  el("a", { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 10_000);
}
