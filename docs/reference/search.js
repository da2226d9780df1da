// Searches the text of all pages in the browser, also of pages opened as files. Replaces Doxygen's
// search.js, which asks a server; each page makes a SearchBox.

const RESULTS_AT_MOST = 40;

function loadScript(url) {
  return new Promise((resolve, reject) => {
    const script = document.createElement('script');
    script.src = url;
    script.onload = resolve;
    script.onerror = reject;
    document.head.append(script);
  });
}

// A record for each section of the guides, with its text.
function readGuides() {
  return Object.entries(SEARCH_GUIDES).flatMap(([page, html]) => {
    const body = new DOMParser().parseFromString(html, 'text/html');
    const title = body.querySelector('.title').textContent.trim();
    const sections = [{type: 'guide', name: title, url: page, text: ''}];
    for (const element of body.querySelector('.textblock').children) {
      const anchor = element.matches('h1, h2, h3') && element.querySelector('a.anchor');
      if (anchor) {
        const name = `${title}: ${element.textContent.trim()}`;
        sections.push({type: 'guide', name, url: `${page}#${anchor.id}`, text: ''});
      } else {
        sections.at(-1).text += ' ' + element.textContent.replace(/\s+/g, ' ');
      }
    }
    return sections;
  });
}

// A record for each public name and example, with its comment.
function readNames() {
  const xml = new DOMParser().parseFromString(SEARCH_NAMES, 'text/xml');
  const records = [...xml.querySelectorAll('doc')].map((doc) => {
    const fields = [...doc.children].map((field) => [field.getAttribute('name'), field.textContent]);
    return Object.fromEntries(fields);
  });
  return records.filter(({type}) => type !== 'page');
}

// Names count more than text, guides more than members.
function makeIndex(records) {
  return lunr(function () {
    this.pipeline.remove(lunr.stopWordFilter);
    this.searchPipeline.remove(lunr.stopWordFilter);
    this.b(0.3);
    this.field('name', {boost: 4});
    this.field('words', {boost: 4});
    this.field('text');
    records.forEach((record, id) => {
      const words = record.name.replace(/([a-z0-9])([A-Z])/g, '$1 $2').replace(/[:_.]+/g, ' ');
      this.add({...record, id, words}, {boost: record.type === 'guide' ? 4 : 1});
    });
  });
}

// The IDs of the records in which every word occurs, the best first.
function findRecords(index, words) {
  let scores = null;
  for (const word of words) {
    const found = index.query((query) => {
      query.term(word, {boost: 10});
      query.term(word, {wildcard: lunr.Query.wildcard.TRAILING, usePipeline: false, boost: 3});
      query.term(word, {wildcard: lunr.Query.wildcard.LEADING | lunr.Query.wildcard.TRAILING,
                        usePipeline: false});
    });
    scores = new Map(found.filter(({ref}) => !scores || scores.has(ref))
        .map(({ref, score}) => [ref, score + (scores ? scores.get(ref) : 0)]));
  }
  return [...(scores || [])].sort((a, b) => b[1] - a[1]).map(([ref]) => Number(ref));
}

function makeSnippet(text, words) {
  const found = words.map((word) => text.toLowerCase().indexOf(word)).filter((at) => at >= 0);
  const start = text.lastIndexOf(' ', Math.max(0, Math.min(...found, text.length) - 60)) + 1;
  return (start > 0 ? '… ' : '') + text.slice(found.length > 0 ? start : 0).slice(0, 180) + ' …';
}

function showRecord(record, words) {
  const link = document.createElement('a');
  link.href = record.url;
  link.textContent = record.name + (record.args || '');
  const type = document.createElement('span');
  type.className = 'resulttype';
  type.textContent = record.type;
  const item = document.createElement('div');
  item.className = 'searchresult';
  item.append(link, type, document.createElement('br'));
  if (record.text) {
    item.append(makeSnippet(record.text, words));
  }
  return item;
}

async function searchFor(query) {
  const words = query.toLowerCase().split(/[^\p{L}\p{N}_]+/u).filter(Boolean);
  await Promise.all([loadScript('lunr.min.js'), loadScript('searchdata.js')]);
  const records = [...readGuides(), ...readNames()];
  const found = findRecords(makeIndex(records), words);
  const results = document.getElementById('searchresults');
  const rest = found.length > RESULTS_AT_MOST ? `; the best ${RESULTS_AT_MOST} are` : '';
  results.textContent = `${found.length} sections and names match ${query}${rest}:`;
  for (const id of found.slice(0, RESULTS_AT_MOST)) {
    results.append(showRecord(records[id], words));
  }
}

class SearchBox {
  OnSearchFieldFocus() {}
}

// After the menu, which makes the search field.
$(() => $(() => {
  const query = new URLSearchParams(location.search).get('query') || '';
  $('#MSearchField').val(query);
  if (query && document.getElementById('searchresults')) {
    searchFor(query);
  }
}));
