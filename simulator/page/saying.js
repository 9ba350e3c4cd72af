// The place of what is said in what never leaves the view. It is small; what it does not hold is opened over the page.

const element = (id) => document.getElementById(id);
/** What nobody may miss opens by itself: what went wrong, and why steering has ended. */
const urgent = ":has(> .lost:not([hidden]), > [role=alert]:not([hidden]), > .message.bad:not(:empty), .ended)";
const edgePixels = 12; // free below it

/** Shows all that is said, or as much as its place holds: as the driver has chosen, or by itself. */
export class Saying {
  constructor() {
    this.place = element("say");
    this.button = element("say-more");
    this.chosen = null; // whether the driver wants all of it, of what is said now
    this.said = "";
    this.button.addEventListener("click", () => {
      this.chosen = !this.isOpen();
      this.show();
    });
    new MutationObserver(() => this.changed())
      .observe(this.place, { subtree: true, childList: true, characterData: true, attributes: true, attributeFilter: ["hidden"] });
    new ResizeObserver(() => this.show()).observe(this.place.parentElement);
    addEventListener("resize", () => this.show());
    this.show();
  }

  /** The driver has chosen for what is said, not for its figures, which change as the machine goes on. */
  changed() {
    const said = this.place.innerText.replace(/[\d.]+/g, "0");
    if (said !== this.said) this.chosen = null;
    this.said = said;
    this.show();
  }

  isOpen() { return this.chosen ?? this.place.matches(urgent); }

  show() {
    const { place, button } = this;
    place.classList.remove("more", "open", "rest");
    const isMore = place.scrollHeight > place.clientHeight + 1;
    const isOpen = isMore && this.isOpen();
    place.classList.toggle("more", isMore);
    place.classList.toggle("open", isOpen);
    button.hidden = !isMore;
    button.textContent = isOpen ? "▲" : "▼";
    button.setAttribute("aria-label", isOpen ? "▲ Show less" : "▼ Show all that is said");
    button.setAttribute("aria-expanded", isOpen);
    const room = innerHeight - place.getBoundingClientRect().top - edgePixels;
    place.style.setProperty("--say-room", `${Math.max(room, place.parentElement.clientHeight)}px`);
    place.classList.toggle("rest", isOpen && place.scrollHeight > place.clientHeight + 1); // the window is too small
  }
}
