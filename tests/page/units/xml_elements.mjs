// What a browser makes of XML, as far as the page's modules use it: Node.js has no DOMParser. It takes elements,
// attributes, text, comments and the five entities of XML, and finds elements that are not closed.
const entities = { "&lt;": "<", "&gt;": ">", "&amp;": "&", "&quot;": '"', "&apos;": "'" };
const unescaped = (text) => text.replace(/&(lt|gt|amp|quot|apos);/g, (entity) => entities[entity]);

class Element {
  constructor(name, attributes, parentElement) {
    Object.assign(this, { attributes, parentElement, children: [], localName: name.replace(/^.*:/, "") });
    this.texts = [];
  }

  getAttribute(name) {
    return this.attributes[name] ?? null;
  }

  get textContent() {
    return this.texts.map((part) => (typeof part === "string" ? part : part.textContent)).join("");
  }

  getElementsByTagName(name) {
    return this.children.flatMap((child) => [
      ...(child.localName === name ? [child] : []), ...child.getElementsByTagName(name)]);
  }

  getElementsByTagNameNS(_, name) {
    return this.getElementsByTagName(name);
  }
}

function parse(text) {
  const document = new Element("#document", {}, null);
  let at = document;
  const token = /<\?[^]*?\?>|<!--[^]*?-->|<\/([^\s>]+)\s*>|<([^\s/>!?]+)((?:\s+[^\s=>]+\s*=\s*(?:"[^"]*"|'[^']*'))*)\s*(\/?)>|([^<]+)|</g;
  for (const [whole, closed, opened, rest, empty, words] of text.replace(/^\ufeff/, "").matchAll(token)) {
    if (words !== undefined) at.texts.push(unescaped(words));
    else if (whole === "<" || (closed !== undefined && at.name !== closed)) return null;
    else if (closed !== undefined) at = at.parentElement;
    else if (opened !== undefined) {
      const attributes = Object.fromEntries([...rest.matchAll(/([^\s=]+)\s*=\s*(?:"([^"]*)"|'([^']*)')/g)]
        .map(([, name, double, single]) => [name, unescaped(double ?? single)]));
      const element = Object.assign(new Element(opened, attributes, at), { name: opened });
      at.children.push(element);
      at.texts.push(element);
      if (empty === "") at = element;
    }
  }
  return at === document ? document : null;
}

/** Stands in for the browser's own. */
export class DOMParser {
  parseFromString(text) {
    const document = parse(text) ?? parse("<parsererror>an element is not closed</parsererror>");
    [document.documentElement] = document.children;
    return document;
  }
}
