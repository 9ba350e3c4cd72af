// The keys that act anywhere on the page.
import { keep, kept } from "./kept.js";

const element = (id) => document.getElementById(id);
const choice = "single-keys";
/** The way out of steering: free wherever no letters are written. */
const wayOut = "d";
/** What leaves all as it is acts wherever the focus is. */
const alwaysFree = "escape";
const writing = (target) =>
  target.matches("input:not([type=checkbox], [type=radio], [type=range], [type=number], [type=file]), textarea");
const typing = (target) => writing(target) || target.matches("input[type=number], input[type=file], select");

/**
 * A key that is held counts once: Enter would press a button, or send a form, again and again. A text of
 * many lines alone takes one after the other.
 */
function ignoreHeldEnter() {
  document.addEventListener("keydown", (event) => {
    if (!event.repeat || event.key !== "Enter" || event.target.matches("textarea")) return;
    event.preventDefault();
    event.stopPropagation();
  }, { capture: true });
}

/** Lets keys act: `actions` maps a key, in small letters, to what it does. */
export function listenToKeys(actions) {
  ignoreHeldEnter();
  const toggle = element("keys-on");
  toggle.checked = kept("localStorage", choice, "on") !== "off";
  toggle.addEventListener("change", () => keep("localStorage", choice, toggle.checked ? "on" : "off"));
  document.addEventListener("keydown", (event) => {
    if (event.defaultPrevented || event.repeat || event.ctrlKey || event.metaKey || event.altKey) return;
    const name = event.key.toLowerCase();
    const action = actions[name];
    if (action === undefined) return;
    if (name !== alwaysFree) {
      if (!toggle.checked || (name === wayOut ? writing : typing)(event.target)) return;
      event.preventDefault();
    }
    action();
  });
}
