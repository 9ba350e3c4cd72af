// What the browser keeps for the page, where it keeps anything: choices for good, what was seen for as long
// as the tab is there.

/** The value under a name; `otherwise` when there is none, or the browser keeps nothing. */
export function kept(storage, name, otherwise) {
  try {
    const value = JSON.parse(globalThis[storage].getItem(name));
    return value ?? otherwise;
  } catch {
    return otherwise;
  }
}

/** Keeps a value. Gives whether the browser has taken it. */
export function keep(storage, name, value) {
  try {
    globalThis[storage].setItem(name, JSON.stringify(value));
    return true;
  } catch {
    return false;
  }
}
