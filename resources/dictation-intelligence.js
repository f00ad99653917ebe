// Text finishing for dictation: plain script functions called by name from
// the application. Every function takes plain strings and objects and
// returns plain values; none keeps state between calls.
//
// The engine that runs this has no \p{...} classes, no look-behind and no
// "s" flag, so word characters are spelled out as ranges below. Its patterns
// backtrack, and a text may be an hour of speech: no pattern here may start
// over at every character of a long run (as "x+$" does), so that every pass
// stays linear in the length of the text.

"use strict";

// Letters, combining marks and digits of the scripts Parlevo dictates in.
var WORD_CHARS =
    "0-9A-Za-z\\u00AA\\u00B5\\u00BA\\u00C0-\\u00D6\\u00D8-\\u00F6\\u00F8-\\u02AF" +
    "\\u0300-\\u036F\\u0370-\\u03FF\\u0400-\\u052F\\u0531-\\u0587\\u05D0-\\u05EA" +
    "\\u0620-\\u064A\\u064B-\\u065F\\u0660-\\u0669\\u066E-\\u06D3\\u06D5-\\u06FF" +
    "\\u0900-\\u0963\\u0966-\\u097F\\u0E01-\\u0E5B\\u1100-\\u11FF\\u1E00-\\u1EFF" +
    "\\u3040-\\u30FF\\u3130-\\u318F\\u3400-\\u4DBF\\u4E00-\\u9FFF\\uAC00-\\uD7AF";
var LEADING_MARKS = new RegExp("^[^" + WORD_CHARS + "]*");
var LAST_WORD_CHARACTER = new RegExp("[" + WORD_CHARS + "][^" + WORD_CHARS + "]*$");
var UPPER_START = /^[A-Z\u00C0-\u00D6\u00D8-\u00DE\u0391-\u03A9\u0400-\u042F]/;

// Lookup tables without a prototype, so that a word such as "constructor"
// read from the user's text is never found in one by accident.
function table(entries) {
    var t = Object.create(null);
    for (var key in entries)
        if (Object.prototype.hasOwnProperty.call(entries, key))
            t[key] = entries[key];
    return t;
}

function asText(value) {
    return value === undefined || value === null ? "" : String(value);
}

function asOptions(value) {
    return value && typeof value === "object" ? value : {};
}

function languageOf(options) {
    var code = asText(options.language).toLowerCase();
    return code === "" ? "auto" : code;
}

// "clean" is "light" on the wire; both name the same mode here.
function modeOf(options) {
    var mode = asText(options.cleanupMode || options.style).toLowerCase();
    if (mode === "" || mode === "clean")
        return "light";
    return mode;
}

function foldDiacritics(text) {
    return text.normalize("NFD").replace(/[\u0300-\u036F]/g, "").normalize("NFC");
}

function escapeRegExp(text) {
    return text.replace(/[.*+?^${}()|[\]\\\/-]/g, "\\$&");
}

// A token is one blank-separated piece: leading punctuation, the word, and
// trailing punctuation ("(well," → "(", "well", ","). The word ends at its
// last letter, found from a letter so that a long run of marks inside a
// token is read once rather than once per position.
function splitToken(token) {
    var lead = LEADING_MARKS.exec(token)[0];
    if (lead.length === token.length)
        return { lead: token, core: "", trail: "" };
    var end = LAST_WORD_CHARACTER.exec(token).index + 1;
    return { lead: lead, core: token.slice(lead.length, end), trail: token.slice(end) };
}

// The text without the characters at its end that `oneCharacter` matches. A
// pattern anchored at the end would start over at every character of a long
// run inside the text.
function withoutTrailing(text, oneCharacter) {
    var end = text.length;
    while (end > 0 && oneCharacter.test(text.charAt(end - 1)))
        --end;
    return text.slice(0, end);
}

// String.replace with a function is slow in this engine (a call per match
// costs microseconds); this loop calls `change` with the match and its groups
// but copies unchanged text in slices.
function replaceEach(text, globalPattern, change) {
    var out = "";
    var last = 0;
    var m;
    globalPattern.lastIndex = 0;
    while ((m = globalPattern.exec(text)) !== null) {
        if (m[0] === "") {
            globalPattern.lastIndex++;
            continue;
        }
        var replacement = change(m[0], m);
        if (replacement !== m[0]) {
            out += text.slice(last, m.index) + replacement;
            last = m.index + m[0].length;
        }
    }
    return last === 0 ? text : out + text.slice(last);
}

function tokensOf(text) {
    return text.split(/[ \t]+/).filter(function (t) { return t !== ""; });
}

// ---------------------------------------------------------------------------
// Spoken text as it comes from a recogniser.

var ARTEFACTS = [
    /\[(?:blank[_ ]audio|silence|music|noise|inaudible|applause|laughter|no speech)\]/gi,
    /\((?:silence|music|noise|inaudible|applause|laughter|no speech|upbeat music)\)/gi,
    /<\|[a-z_]+\|>/gi,
    /[\u266A\u266B\u266C]+/g,
];

function prepareSpokenText(text, options) {
    var s = asText(text).normalize("NFC");
    s = s.replace(/\r\n?/g, "\n").replace(/[\u2028\u2029]/g, "\n");
    s = s.replace(/[\u00A0\u1680\u2000-\u200A\u202F\u205F\u3000\t\f\v]/g, " ");
    // Zero-width joiners stay: Indic and Persian words and emoji need them.
    s = s.replace(/[\u200B\uFEFF]/g, "");
    for (var i = 0; i < ARTEFACTS.length; ++i)
        s = s.replace(ARTEFACTS[i], " ");
    // Runs of spaces go first, so that no pattern looks along a long run.
    s = s.replace(/ {2,}/g, " ");
    s = s.replace(/ ?\n ?/g, "\n").replace(/\n{3,}/g, "\n\n");
    return s.trim();
}

// ---------------------------------------------------------------------------
// Fillers and stutters.

var FILLERS = table({
    common: ["um", "umm", "ummm", "uhm", "uhmm", "uh", "uhh", "uhhh", "hmm", "hmmm", "mmm", "ehm",
             "erm"],
    en: ["er", "err", "ahm"],
    de: ["äh", "ähm", "öh", "öhm", "hm"],
    fr: ["euh", "heu", "euhh", "hum"],
    es: ["eh", "em", "emm"],
    it: ["eh", "ehmm"],
    pt: ["hã", "hum", "éh", "ahn", "ãh"],
    nl: ["eh", "ehh", "euh"],
    pl: ["yyy", "yy", "eee", "eem", "hm"],
    ru: ["э", "ээ", "эээ", "эм", "эмм", "мм", "ммм", "хм"],
    uk: ["е", "ее", "еее", "ем", "мм", "ммм", "хм"],
    tr: ["ıı", "ııı", "eee", "ee", "hım"],
    id: ["eh", "emm", "ehm"],
    vi: ["ờ", "ừm", "ừ"],
    hi: ["उम्म", "हम्म", "अं"],
    ar: ["ممم", "امم", "اه"],
    ko: ["음", "으음", "어어"],
});
var UNSPACED_FILLERS = table({
    ja: ["えーと", "えっと", "えーっと", "えー", "あのー", "うーん", "んー"],
    zh: ["嗯", "呃", "额", "唔"],
    th: ["เอ่อ", "อืม", "เออ"],
});

function fillerSet(language) {
    var set = table();
    var add = function (list) {
        for (var i = 0; i < list.length; ++i)
            set[list[i]] = true;
    };
    add(FILLERS.common);
    if (language === "auto") {
        add(FILLERS.en.filter(function (w) { return w.indexOf("er") !== 0; }));
        add(FILLERS.fr);
        add(FILLERS.de.filter(function (w) { return w !== "hm"; }));
    } else if (FILLERS[language]) {
        add(FILLERS[language]);
    }
    return set;
}

function isFillerWord(core, fillers) {
    return core !== "" && fillers[core.toLowerCase()] === true;
}

// Doubled words that mean something ("had had", "bye bye", "no no").
var MEANINGFUL_DOUBLES = table({
    had: true, that: true, very: true, really: true, so: true, no: true, bye: true, yeah: true,
    yes: true, well: true, now: true, there: true, ha: true, haha: true, ho: true, hey: true,
    knock: true, tut: true, chop: true, go: true, never: true, more: true, far: true, much: true,
    many: true, long: true, "is": true, sehr: true, très: true, muy: true, molto: true,
    очень: true, да: true, нет: true, si: true, sí: true, oui: true, non: true, ja: true, nein: true,
});

function isDoubledStutter(previous, current) {
    if (previous.core === "" || previous.core.toLowerCase() !== current.core.toLowerCase())
        return false;
    if (/[.!?;:…]/.test(previous.trail) || /["“”«»()]/.test(previous.trail + current.lead))
        return false;
    if (/^[0-9]/.test(current.core) || MEANINGFUL_DOUBLES[current.core.toLowerCase()])
        return false;
    // "Bora Bora": a name said twice stays; "The the" and "I I" are stutters.
    return !(UPPER_START.test(current.core) && UPPER_START.test(previous.core) &&
             current.core !== "I");
}

function removeInWordStutter(core) {
    // "b-b-but" → "but"; only one-letter fragments, so "re-read" stays.
    if (!/^[^\s-]-./.test(core))
        return core;
    var fragments = core.split("-");
    var last = fragments[fragments.length - 1];
    for (var i = 0; i < fragments.length - 1; ++i) {
        if (fragments[i].length !== 1 ||
            fragments[i].toLowerCase() !== last.charAt(0).toLowerCase())
            return core;
    }
    return last.length > 1 || fragments.length > 2 ? last : core;
}

function endsSentence(trail) {
    return /[.!?…。！？]/.test(trail);
}

function cleanSpeechDisfluencies(text, options) {
    options = asOptions(options);
    var language = languageOf(options);
    if (modeOf(options) === "exact")
        return asText(text);
    var lines = asText(text).split("\n");
    var fillers = fillerSet(language);
    for (var l = 0; l < lines.length; ++l)
        lines[l] = cleanLine(lines[l], fillers);
    var result = lines.join("\n");
    var unspaced = UNSPACED_FILLERS[language] ||
        (language === "auto" ? UNSPACED_FILLERS.zh.concat(UNSPACED_FILLERS.ja) : null);
    if (unspaced) {
        var alternatives = unspaced.map(escapeRegExp).join("|");
        // Only a filler standing alone: "额外" (extra) keeps its first character.
        var pattern = new RegExp("(^|[\\s、。，,！？!?])(?:" + alternatives + ")+" +
                                 "(?=[\\s、。，,！？!?…]|$)[、，,…]*\\s*", "g");
        result = result.replace(pattern, "$1");
    }
    return result.replace(/ {2,}/g, " ").trim();
}

// A comma or semicolon glued to the next word ("uh,thank") separates words.
var GLUED_COMMA = new RegExp("([,;])(?=[" + WORD_CHARS.slice(3) + "])", "g");

function cleanLine(line, fillers) {
    var kept = [];
    var tokens = tokensOf(line.replace(GLUED_COMMA, "$1 "));
    var sentenceStart = true;
    for (var i = 0; i < tokens.length; ++i) {
        var token = splitToken(tokens[i]);
        token.core = removeInWordStutter(token.core);
        token.sentenceStart = sentenceStart;
        var next = i + 1 < tokens.length ? splitToken(tokens[i + 1]) : null;
        var previous = kept.length ? kept[kept.length - 1] : null;
        if (isFillerWord(token.core, fillers) || isHangingFragment(token, next)) {
            carryPunctuation(token, previous, next, tokens, i);
            continue;
        }
        if (previous && isDoubledStutter(previous, token)) {
            previous.trail = token.trail;
            continue;
        }
        kept.push(token);
        sentenceStart = endsSentence(token.trail);
    }
    return kept.map(function (t) { return t.lead + t.core + t.trail; }).join(" ");
}

// "th- the" and "wh— what": a cut-off start of the word that follows.
function isHangingFragment(token, next) {
    if (!next || token.core === "" || !/^[-\u2010\u2013\u2014]+$/.test(token.trail))
        return false;
    return next.core.toLowerCase().indexOf(token.core.toLowerCase()) === 0 &&
        next.core.length > token.core.length;
}

// A dropped filler gives its sentence end (or its opening bracket) to its
// neighbours, never a comma: "home uh. Then" → "home. Then".
function carryPunctuation(dropped, previous, next, tokens, index) {
    // "need, uh, three" → "need three"; "So, um, I" keeps the comma after "So".
    if (previous && /,/.test(dropped.trail) && /,$/.test(previous.trail) &&
        !previous.sentenceStart)
        previous.trail = previous.trail.slice(0, -1);
    var end = /[.!?…。！？]+/.exec(dropped.trail);
    if (end && previous) {
        previous.trail = withoutTrailing(previous.trail, /[,;:\-\u2013\u2014]/);
        if (!endsSentence(previous.trail))
            previous.trail += end[0];
    }
    // "(um)" goes whole; "(um so" leaves its bracket to "so".
    var closes = /[)\]»”"]/.test(dropped.trail);
    if (dropped.lead !== "" && /[(\[«“"¿¡]/.test(dropped.lead) && next && !closes) {
        tokens[index + 1] = dropped.lead.replace(/[^(\[«“"¿¡]/g, "") + tokens[index + 1];
    }
}

// ---------------------------------------------------------------------------
// Preferred spellings from the user's Words.

function dictionaryEntries(value) {
    if (!Array.isArray(value))
        return [];
    return value.filter(function (e) {
        return e && typeof e === "object" && asText(e.spelling).replace(/\s+/g, "") !== "";
    });
}

function formKey(text) {
    return asText(text).toLowerCase().replace(/[\s\-\u2010]+/g, " ").replace(/^ | $/g, "");
}

function formPattern(form) {
    return form.split(" ").map(escapeRegExp).join("[\\s\\-\\u2010]+");
}

// Matches a phrase as whole words: the text around it is no letter or digit.
function wholeWordPattern(alternatives) {
    return new RegExp("(^|[^" + WORD_CHARS + "])(" + alternatives + ")(?![" + WORD_CHARS + "])",
                      "gi");
}

function applyPreferredSpellings(text, dictionary) {
    var source = asText(text);
    var entries = dictionaryEntries(dictionary);
    if (entries.length === 0 || source === "")
        return source;
    var spellingOf = table();
    var forms = [];
    entries.forEach(function (entry) {
        var spelling = asText(entry.spelling).trim();
        var heard = Array.isArray(entry.spokenForms) ? entry.spokenForms : [];
        [spelling].concat(heard).forEach(function (form) {
            var key = formKey(form);
            if (key === "" || (key in spellingOf))
                return;
            spellingOf[key] = spelling;
            forms.push(key);
        });
    });
    // Longer forms first, so "cube and eighties" wins over "cube".
    forms.sort(function (a, b) { return b.length - a.length; });
    var pattern = wholeWordPattern(forms.map(formPattern).join("|"));
    return source.replace(pattern, function (match, before, found) {
        var spelling = spellingOf[formKey(found)];
        return before + (spelling === undefined ? found : spelling);
    });
}

// ---------------------------------------------------------------------------
// Names seen around the field keep their spelling.

var COMMON_WORDS = table();
("a an and are as at be but by can could did do does for from had has have he her here hers " +
 "him his how i if in is it its just let me my no not now of on or our out she so than that " +
 "the their them then there these they this those to too up us was we were what when where " +
 "which who why will with would yes you your yours hi hey hello thanks thank dear best regards " +
 "ok okay sure today tomorrow yesterday monday tuesday wednesday thursday friday saturday sunday " +
 "january february march april may june july august september october november december " +
 "sounds see great good morning evening night please sorry also maybe well all any been " +
 "both each few get got its more most new off old one only other own same some such two very " +
 "way did go going know like make need think want said says say tell told call meet")
    .split(" ")
    .forEach(function (w) { COMMON_WORDS[w] = true; });

function namesInContext(options) {
    var text = [options.contextBefore, options.contextAfter, options.conversationContext]
                   .map(asText)
                   .join("\n");
    var names = table();
    tokensOf(text.replace(/\n/g, " ")).forEach(function (raw) {
        var core = splitToken(raw).core.replace(/['’]s$/, "");
        if (core.length < 2 || !UPPER_START.test(core) || /[0-9]/.test(core))
            return;
        if (COMMON_WORDS[core.toLowerCase()])
            return;
        // Short capitals are acronyms ("NASA"); longer ones are shouting ("URGENT").
        if (core.length > 5 && core.toUpperCase() === core)
            return;
        var key = foldDiacritics(core).toLowerCase();
        names[key] = names[key] || core;
    });
    return names;
}

// Edit distance with transpositions, or limit + 1 once it is past `limit`.
// A cell further than `limit` from the diagonal is past it too, so each row
// keeps only the band around the diagonal: two long words cost their length
// times the limit, not the product of their lengths.
function editDistance(a, b, limit) {
    if (Math.abs(a.length - b.length) > limit)
        return limit + 1;
    var past = limit + 1;
    var rows = [[], [], []]; // rows i - 2, i - 1 and i, by i modulo 3
    function at(i, j) {
        if (i < 0 || j < 0 || j > b.length || Math.abs(i - j) > limit)
            return past;
        return rows[i % 3][j - i + limit];
    }
    for (var i = 0; i <= a.length; ++i) {
        var row = rows[i % 3];
        var best = past;
        for (var j = i - limit; j <= i + limit; ++j) {
            var d = past;
            if (j < 0 || j > b.length) {
                d = past;
            } else if (i === 0 || j === 0) {
                d = i + j;
            } else {
                var cost = a.charAt(i - 1) === b.charAt(j - 1) ? 0 : 1;
                d = Math.min(at(i - 1, j) + 1, at(i, j - 1) + 1, at(i - 1, j - 1) + cost);
                if (i > 1 && j > 1 && a.charAt(i - 1) === b.charAt(j - 2) &&
                    a.charAt(i - 2) === b.charAt(j - 1))
                    d = Math.min(d, at(i - 2, j - 2) + 1);
            }
            row[j - i + limit] = Math.min(d, past);
            best = Math.min(best, row[j - i + limit]);
        }
        if (best > limit)
            return past;
    }
    return at(a.length, b.length);
}

function closestName(word, names) {
    var key = foldDiacritics(word).toLowerCase();
    if (key in names)
        return names[key];
    if (key.length < 3 || COMMON_WORDS[key] || word.toUpperCase() === word)
        return null;
    var limit = key.length >= 7 ? 2 : 1;
    var found = null;
    var foundDistance = limit + 1;
    for (var name in names) {
        if (name.charAt(0) !== key.charAt(0) ||
            names[name].toUpperCase() === names[name])
            continue;
        // Three letters only grow into a name: "Jon" → "John".
        if (key.length === 3 && name.length !== 4)
            continue;
        var d = editDistance(key, name, limit);
        if (d < foundDistance || (d === foundDistance && found !== null && name < found.key)) {
            found = { key: name, spelling: names[name] };
            foundDistance = d;
        }
    }
    return found && foundDistance <= limit ? found.spelling : null;
}

function applyContextNameSpellings(text, options) {
    options = asOptions(options);
    var source = asText(text);
    // Exact shares no context, so the field's text may not change the words.
    if (modeOf(options) === "exact" || source === "")
        return source;
    var names = namesInContext(options);
    if (Object.keys(names).length === 0)
        return source;
    var protectedWords = table();
    dictionaryEntries(options.dictionary).forEach(function (e) {
        protectedWords[asText(e.spelling).toLowerCase()] = true;
    });
    var word = new RegExp("[" + WORD_CHARS + "]+(?:['’\\-][" + WORD_CHARS + "]+)*", "g");
    var seen = table();
    return replaceEach(source, word, function (found) {
        if (!(found in seen))
            seen[found] = respell(found);
        return seen[found];
    });

    function respell(found) {
        // Only words the recogniser wrote as names: "will" never becomes "Will".
        if (!UPPER_START.test(found) || found === "I" || protectedWords[found.toLowerCase()])
            return found;
        var possessive = /^(.+?)(['’]s)?$/.exec(found);
        var name = closestName(possessive[1], names);
        return name === null ? found : name + (possessive[2] || "");
    }
}

// ---------------------------------------------------------------------------
// Reply composing: "Tell them Tuesday works" → "Tuesday works."

var REPLY_COMMAND = new RegExp(
    "^\\s*(?:(?:please|ok(?:ay)?|so)[,\\s]+)?" +
    "(?:tell|reply to|respond to|write back to|let)\\s+" +
    "(them|him|her|everyone|everybody|the team|the group|[A-Z][" + WORD_CHARS + "'’\\-]*)" +
    "(?:\\s+know)?[,:]?\\s+(?:saying[,:]?\\s+)?(?:that\\s+)?(.+)$",
    "i");
var REPLY_VERB = /^\s*(?:(?:please|ok(?:ay)?|so)[,\s]+)?(tell|reply|respond|write|let)\b/i;
var GROUP_RECIPIENT = /^(them|him|her|everyone|everybody|the team|the group)$/i;

function replyMatch(text) {
    var m = REPLY_COMMAND.exec(text);
    if (!m)
        return null;
    var verb = REPLY_VERB.exec(text);
    var isLet = verb && verb[1].toLowerCase() === "let";
    // "Let them know …" composes; "Let me see" and "let it go" do not.
    if (isLet && !/\s+know\b/i.test(text.slice(0, text.length - m[2].length)))
        return null;
    // A recipient is a pronoun, a group or a name the recogniser capitalised.
    if (!GROUP_RECIPIENT.test(m[1]) && (!UPPER_START.test(m[1]) || COMMON_WORDS[m[1].toLowerCase()]))
        return null;
    return { recipient: m[1], message: m[2] };
}

function isExplicitReplyIntent(text, options) {
    options = asOptions(options);
    var mode = modeOf(options);
    if (!options.replyAssist || mode === "exact" || mode === "prompt")
        return false;
    return replyMatch(asText(text)) !== null;
}

var SECOND_PERSON = table({
    "he is": "you are", "she is": "you are", "they are": "you are", "he was": "you were",
    "she was": "you were", "they were": "you were", "he has": "you have", "she has": "you have",
    "he does": "you do", "she does": "you do", "he doesn't": "you don't",
    "she doesn't": "you don't", "he isn't": "you aren't", "she isn't": "you aren't",
    "he wasn't": "you weren't", "she wasn't": "you weren't", "he's": "you're",
    "she's": "you're", "they're": "you're", "he": "you", "she": "you", "they": "you",
    "his": "your", "their": "your",
});

// The message of a reply command, addressed to its reader.
function composeReplyText(text) {
    var m = replyMatch(asText(text));
    if (!m)
        return asText(text);
    var message = m.message.trim();
    if (/^(them|him|her)$/i.test(m.recipient) || UPPER_START.test(m.recipient)) {
        var lead = /^(\S+(?:\s+\S+)?)/.exec(message.toLowerCase().replace(/[’]/g, "'"));
        var two = lead ? lead[1].replace(/[,.!?]+$/, "") : "";
        var one = two.split(" ")[0];
        var swap = SECOND_PERSON[two] !== undefined ? two : SECOND_PERSON[one] !== undefined ? one : null;
        if (swap !== null)
            message = SECOND_PERSON[swap] + message.slice(swap.length);
    }
    return message;
}

// ---------------------------------------------------------------------------
// Whether a transcript is speech at all.

// What recognisers write on silence or noise, learnt from their subtitle
// training data. Compared with the whole transcript, folded.
var BOILERPLATE = [
    "thank you", "thanks", "thank you very much", "thank you so much", "thanks for watching",
    "thank you for watching", "thank you so much for watching", "thanks for listening",
    "thank you for listening", "please subscribe", "subscribe to my channel",
    "like and subscribe", "please like and subscribe", "bye", "bye bye", "you", "so",
    "subtitles by the amara org community", "transcribed by", "transcription by castingwords",
    "sous titres realises par la communaute d amara org", "merci d avoir regarde",
    "merci", "untertitel der amara org community", "untertitelung des zdf 2020",
    "vielen dank fur ihre aufmerksamkeit", "danke", "gracias", "gracias por ver",
    "gracias por ver el video", "subtitulos por la comunidad de amara org", "obrigado",
    "obrigado por assistir", "grazie", "grazie per la visione", "sottotitoli a cura di qtss",
    "dziekuje za obejrzenie", "dziekuje", "продолжение следует", "спасибо за внимание",
    "спасибо", "субтитры сделал dimatorzok", "субтитры создавал dimatorzok",
    "ご視聴ありがとうございました", "ありがとうございました", "字幕由amara org社区提供",
    "谢谢观看", "谢谢", "시청해주셔서 감사합니다", "감사합니다",
];
// Courtesy phrases a person may really say; kept when speech was heard.
var COURTESY = table({ "thank you": true, "thanks": true, "thank you very much": true,
                 "thank you so much": true, "bye": true, "bye bye": true, "you": false,
                 "so": false, "merci": true, "danke": true, "gracias": true, "obrigado": true,
                 "grazie": true, "dziekuje": true, "спасибо": true, "谢谢": true,
                 "감사합니다": true, "ありがとうございました": true });

var NON_WORD_RUNS = new RegExp("[^" + WORD_CHARS + "]+", "g");

function foldForComparison(text) {
    return foldDiacritics(asText(text))
        .toLowerCase()
        .replace(NON_WORD_RUNS, " ")
        .replace(/^ +| +$/g, "");
}

function reliableDictationTranscript(text, options) {
    options = asOptions(options);
    var prepared = prepareSpokenText(text, options);
    var folded = foldForComparison(prepared);
    if (folded === "")
        return false;
    var fillers = fillerSet(languageOf(options));
    var unspaced = [];
    for (var code in UNSPACED_FILLERS)
        unspaced = unspaced.concat(UNSPACED_FILLERS[code]);
    var words = folded.split(" ").filter(function (w) {
        return !fillers[w] && unspaced.indexOf(w) < 0;
    });
    if (words.length === 0)
        return false;
    var joined = words.join(" ");
    // One boilerplate phrase: kept only when it is a courtesy a person said.
    for (var i = 0; i < BOILERPLATE.length; ++i) {
        if (joined === foldForComparison(BOILERPLATE[i]))
            return options.speechHeard === true && COURTESY[BOILERPLATE[i]] === true;
    }
    // The same phrase over and over ("Thank you. Thank you.") is never speech.
    for (i = 0; i < BOILERPLATE.length; ++i) {
        if (isRepeated(joined, foldForComparison(BOILERPLATE[i])))
            return false;
    }
    return true;
}

// `text` is `phrase` twice or more, blank-separated. Compared whole, because a
// pattern with a repeated group keeps a step back for every repetition.
function isRepeated(text, phrase) {
    var unit = " " + phrase;
    var times = (text.length + 1) / unit.length;
    return times >= 2 && times === Math.floor(times) && unit.repeat(times) === " " + text;
}

// ---------------------------------------------------------------------------
// Spacing, capitals and the closing mark.

var ABBREVIATIONS = table({ "e.g": true, "i.e": true, "etc": true, "vs": true, "cf": true, "approx": true,
                      "z.b": true, "d.h": true, "usw": true, "p.ej": true, "bzw": true });
// A sentence that ends in a full stop, or a stretch that is none: every
// stretch is read once, where a pattern for the sentence alone would search
// on from every character of a text without a full stop.
var FULL_STOP_SENTENCE = /([^.!?]+)\.(?=\s|$)|[^.!?]+|[.!?]+/g;
var ENTHUSIASM = /\b(amazing|awesome|fantastic|incredible|wonderful|brilliant|excellent|congrat(?:ulation)?s|wow|yay|hooray|love it|can['’]t wait|cannot wait|so excited|so happy|thrilled|great news|woohoo|unbelievable|génial|incroyable|félicitations|genial|increíble|fantástico|felicidades|toll|wahnsinn|fantastisch|glückwunsch|fantastico|incredibile|complimenti|incrível|parabéns|geweldig|gefeliciteerd)\b/i;

function sentenceMarks(language) {
    if (language === "ja" || language === "zh")
        return { full: "。", ends: /[。！？!?.…]$/ };
    if (language === "hi")
        return { full: "।", ends: /[।॥!?.…]$/ };
    if (language === "ar")
        return { full: ".", ends: /[.!?؟…]$/ };
    if (language === "th")
        return { full: "", ends: /./ };
    return { full: ".", ends: /[.!?…]$/ };
}

// Each rule may open work for another ("! !" → "!!" → "!"), so they run
// until the text stops changing.
function normaliseSpacing(text, language) {
    var s = text;
    for (var round = 0; round < 4; ++round) {
        var next = normaliseSpacingOnce(s, language);
        if (next === s)
            break;
        s = next;
    }
    return s;
}

function normaliseSpacingOnce(text, language) {
    var s = text.replace(/[ \t]+/g, " ").replace(/ *\n */g, "\n");
    if (language === "fr") {
        // French sets a space before ; : ! ? and inside guillemets.
        s = s.replace(/ +([,.)\]…])/g, "$1").replace(/([^\s])([;:!?»])(?![0-9\/])/g, "$1 $2")
                .replace(/«([^\s])/g, "« $1").replace(/ +/g, " ");
    } else {
        s = s.replace(/ +([,.!?;:)\]…%、。，！？：；؟،।])/g, "$1").replace(/([(\[¿¡]) +/g, "$1");
    }
    s = s.replace(/([,;])(?=[A-Za-z\u00C0-\u024F\u0400-\u04FF])/g, "$1 ");
    s = s.replace(/([a-z\u00DF-\u00FF\u0430-\u044F]{2}[.!?])(?=[A-Z\u00C0-\u00DE\u0410-\u042F])/g, "$1 ");
    s = s.replace(/,{2,}/g, ",").replace(/([!?])\1+/g, "$1").replace(/,([.!?])/g, "$1");
    s = s.replace(/(^|[^.])\.\.(?!\.)/g, "$1.").replace(/([!?])\./g, "$1");
    return s.trim();
}

// Day and month names English always capitalises ("may" and "march" are
// verbs too and are left alone).
var ENGLISH_PROPER = table();
("monday tuesday wednesday thursday friday saturday sunday january february april june july " +
 "september october november december")
    .split(" ")
    .forEach(function (w) { ENGLISH_PROPER[w] = true; });

function capitaliseFirst(word, language) {
    if (word.charAt(0) === "i" && language === "tr")
        return "\u0130" + word.slice(1);
    return word.charAt(0).toUpperCase() + word.slice(1);
}

function capitalise(text, language, protectedWords) {
    var tokens = text.split(/( +|\n)/);
    var start = true;
    var previousCore = "";
    var lineBreaks = 0;
    for (var i = 0; i < tokens.length; ++i) {
        var t = tokens[i];
        if (t === "" || /^ +$/.test(t))
            continue;
        if (t === "\n") {
            // A blank line starts a sentence; a single break continues one.
            if (++lineBreaks >= 2)
                start = true;
            continue;
        }
        lineBreaks = 0;
        var parts = splitToken(t);
        if (parts.core !== "") {
            var core = parts.core;
            var lower = core.toLowerCase();
            var english = language === "en" || language === "auto";
            if (english && /^i(?:['’](?:m|ve|ll|d))?$/.test(core))
                core = "I" + core.slice(1);
            else if (english && ENGLISH_PROPER[core])
                core = capitaliseFirst(core, language);
            else if (start && !protectedWords[core] && core === lower)
                core = capitaliseFirst(core, language);
            tokens[i] = parts.lead + core + parts.trail;
            previousCore = lower;
        }
        var trail = parts.core === "" ? t : parts.trail;
        if (/[.!?…。！？]["”’»)]*$/.test(trail) && !/\.\.\.$|…$/.test(trail)) {
            start = !(ABBREVIATIONS[previousCore] && /^\.$/.test(trail));
        } else if (parts.core !== "") {
            start = false;
        }
    }
    return tokens.join("");
}

// Openings that make a sentence a question whatever follows ("Can you …",
// "Where is …"); "What a day" and "Do it now" are not.
var QUESTION_OPENING = new RegExp(
    "^(?:(?:is|are|am|was|were|does|did|can|could|would|should|will|shall|may|might|have|" +
    "has|isn't|aren't|don't|doesn't|didn't|won't|wouldn't|shouldn't|can't|couldn't)\\s+" +
    "(?:i|you|we|they|he|she|it|there|this|that|anyone|someone|everyone|anybody)|" +
    "do\\s+(?:i|you|we|they)|" +
    "(?:who|what|when|where|why|how|which)\\s+(?:is|are|was|were|do|does|did|can|could|would|" +
    "should|will|about|if)|(?:what|where|who|how|when)['’]s)\\b",
    "i");

function closeLastSentence(text, marks, mode, language) {
    if (text === "" || marks.full === "" || marks.ends.test(text))
        return text;
    // A final ’ closes a quotation only when one was opened (not "the students’").
    var body = withoutTrailing(text, text.indexOf("‘") >= 0 ? /["”’»)\]]/ : /["”»)\]]/);
    var closing = text.slice(body.length);
    // The mark goes on the word; blanks before the closing quote stay (French « … »).
    var bare = withoutTrailing(body, /\s/);
    var blanks = body.slice(bare.length);
    body = bare;
    if (body === "" || marks.ends.test(body) || /[:;,\-–—]$/.test(body))
        return text;
    var lastSentence = body.split(/[.!?。！？]\s+/).pop();
    // The question openings are English; other languages get a full stop.
    var english = language === "en" || language === "auto";
    var question = english && QUESTION_OPENING.test(lastSentence);
    var mark = question ? "?" : marks.full;
    if (mode === "excited" && !question && ENTHUSIASM.test(lastSentence))
        mark = "!";
    return body + mark + blanks + closing;
}

function finishDictationText(text, options) {
    options = asOptions(options);
    var mode = modeOf(options);
    var language = languageOf(options);
    var s = asText(text);
    if (mode === "exact")
        return s.replace(/[ \t]+/g, " ").replace(/ *\n */g, "\n").trim();
    if (options.replyIntent === true)
        s = composeReplyText(s);
    s = normaliseSpacing(s, language);
    if (s === "")
        return s;
    if (options.modelFormatted === true)
        return s;
    var protectedWords = table();
    dictionaryEntries(options.dictionary).forEach(function (e) {
        asText(e.spelling).split(/\s+/).forEach(function (w) {
            protectedWords[splitToken(w).core] = true;
        });
    });
    s = capitalise(s, language, protectedWords);
    if (mode === "casual") {
        // Lighter punctuation: no full stop at the very end; questions keep theirs.
        return s.replace(/([^.])\.(["”’»)]*)$/, "$1$2");
    }
    if (mode === "excited") {
        s = replaceEach(s, FULL_STOP_SENTENCE, function (piece, m) {
            return m[1] !== undefined && ENTHUSIASM.test(m[1]) ? m[1] + "!" : piece;
        });
    }
    var marks = sentenceMarks(language);
    s = s.split("\n\n")
        .map(function (paragraph) { return closeLastSentence(paragraph, marks, mode, language); })
        .join("\n\n");
    // The marks just added follow the language's spacing too ("génial !").
    return normaliseSpacing(s, language);
}
