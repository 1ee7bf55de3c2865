#include "sentences/abbreviations.hpp"

#include <algorithm>
#include <array>

namespace KQ::sentences {

namespace {

struct Row {
  std::string_view language;  ///< "" for all
  std::string_view words;     ///< with their stops, a blank between two
  std::string_view beforeNumbers;
};

/// Titles, references, units and months. None of the words is also one that ends sentences; those
/// that are count before numbers alone.
constexpr std::array<Row, 17> rows{{
    {"",
     "Mr. Mrs. Ms. Dr. Prof. St. Capt. Col. Gen. Lt. Sgt. Gov. Sen. vs. cf. e.g. i.e. pp. "
     "resp. ca. approx. Inc. Ltd. Messrs. Mme. Mlle.",
     "Fig. Figs. fig. Vol. vol. Nr. nr. No. no. Art. art. p. Kap. kap. Tab. tab. tel. Tel. "
     "max. min."},
    {"en",
     "Rev. Hon. Maj. Cpl. Adm. Cmdr. Rep. Pres. Supt. Insp. viz. Jan. Feb. Apr. Jun. Jul. "
     "Aug. Sept. Oct. Nov. Dec. Tues. Thurs. Ave. Blvd. Rd. Ft. Mt. Univ. Dept. Assn. "
     "Bros.",
     "Nos. Sec. Ch. Chap. Ed. Eq. Eqs. Ref. Refs. App. Pt. Par. Ex. Mar. Sep. Mon. Tue. "
     "Wed. Thu. Fri. Sat. Sun."},
    {"de",
     "Hr. Hrn. Fr. Frl. Dipl. Ing. Abb. Abs. Abschn. Anm. Aufl. Bd. Bde. Bsp. bzw. Chr. "
     "d.h. dgl. ebd. evtl. ff. Fam. ggf. hl. Hrsg. i.d.R. inkl. insb. Jh. lt. mind. Nrn. "
     "o.ä. p.a. s.o. s.u. sog. Std. Str. u.a. u.U. v.a. vgl. z.B. z.T. zzgl. allg. bes. "
     "Jan. Feb. Aug. Sept. Okt. Nov. Dez.",
     "Art. Mo. Di. Mi. Do. Sa. So."},
    {"fr",
     "MM. Pr. Mgr. Ste. env. ex. p.ex. chap. éd. tél. av. bd. boul. n°. janv. févr. avr. "
     "juil. sept. oct. nov. déc.",
     ""},
    {"es",
     "Sr. Sra. Sres. Sras. Srta. Dra. Dña. Profa. Ing. Lic. Gral. Cnel. Tte. Sto. Sta. Ud. "
     "Uds. Vd. Vds. Av. Avda. núm. pág. págs. tfno. aprox. p.ej. a.C. d.C. ene. feb. abr. "
     "ago. sept. oct. nov. dic.",
     "cap."},
    {"it",
     "Sig. Sig.ra Sigg. Dott. Dott.ssa Ing. Avv. Geom. Rag. Mons. pag. pagg. es. p.es. ca. "
     "cfr. febb. apr. lug. ago. sett. ott. nov. dic.",
     "cap."},
    {"pt",
     "Sr. Sra. Srs. Sras. Srta. Dra. Profa. Eng. Exmo. Exma. Av. Trav. pág. págs. núm. "
     "p.ex. a.C. d.C. jan. fev. abr. ago. nov. dez.",
     "cap."},
    {"nl",
     "dhr. mevr. mw. dr. drs. prof. ir. ing. mr. bijv. bv. bijz. blz. d.w.z. evt. hfst. "
     "i.p.v. incl. m.b.t. nl. o.a. t.o.v. vgl. z.o.z. jan. feb. apr. aug. sept. okt. nov. "
     "dec.",
     ""},
    {"sv",
     "bl.a. d.v.s. dr. ev. exkl. f.d. f.ö. forts. inkl. jfr. m.a.o. m.fl. obs. prof. s.k. "
     "sid. t.ex. ung. jan. febr. apr. aug. sept. okt. nov. dec.",
     "kl."},
    {"da",
     "bl.a. dr. d.v.s. dvs. ekskl. evt. f.eks. hhv. inkl. jf. m.fl. m.v. maks. o.a. pct. "
     "pga. prof. stk. tlf. jan. feb. apr. aug. sept. okt. nov. dec.",
     "kl."},
    {"nb",
     "bl.a. dr. d.v.s. dvs. ekskl. ev. f.eks. hhv. inkl. jf. m.fl. maks. o.a. pga. prof. "
     "tlf. jan. feb. apr. aug. sept. okt. nov. des.",
     "kl."},
    {"fi",
     "alk. arv. dos. ent. esim. gen. harv. huom. jatk. joht. klo. kpl. krs. ltn. luutn. "
     "lääket. maist. nro. ns. näyt. prof. puh. seur. siht. synt. toim. tri. väit.",
     ""},
    {"pl",
     "art. bł. dr. dyr. gen. godz. hab. im. inż. ks. lek. m.in. mgr. np. pkt. płk. pow. "
     "proc. prof. red. ref. rozdz. rys. św. tj. tys. tzn. tzw. ul. ust. ws. wyd. zał. zob.",
     "nr. pt. ob. str."},
    {"cs",
     "čes. doc. dr. gen. hod. Ing. kpt. mld. mj. Mgr. MUDr. MVDr. např. nám. obr. odd. "
     "odst. PhDr. plk. popř. pozn. prof. příp. RNDr. roč. sv. tis. tj. tř. tzn. tzv. ul. "
     "zvl.",
     "č. str. par. mil."},
    {"ru",
     "акад. бул. вв. гг. гл. доц. др. инж. кв. корп. куб. млн. млрд. напр. наб. обл. оз. "
     "пос. пр. просп. проф. рис. руб. св. см. соч. ст. стр. табл. тел. тов. тыс. ул. уч. "
     "чел. шт. экз.",
     "мин. п. ч. ок."},
    {"el",
     "κα. κ.κ. δρ. Δρ. καθ. αρ. βλ. εκ. κεφ. λ.χ. μ.Χ. π.μ. μ.μ. π.χ. π.Χ. σελ. τηλ. τόμ. "
     "χλμ.",
     ""},
    {"tr",
     "Alb. Av. Bkz. bkz. Böl. Bul. Cad. çev. Doç. Ecz. Fak. Hz. İng. Mah. Müh. Org. Öğr. "
     "örn. Örn. Sn. Sok. Şti. Uzm. Yard. yy. Yrd.",
     ""},
}};

constexpr std::array<std::string_view, 12> ordinalDots{"de", "da", "nb", "nn", "no", "fi",
                                                       "cs", "sk", "tr", "hu", "hr", "sl"};

void add(std::vector<std::string>& words, std::string_view list) {
  while (!list.empty()) {
    const std::size_t length = std::min(list.find(' '), list.size());
    words.emplace_back(list.substr(0, length));
    list.remove_prefix(std::min(length + 1, list.size()));
  }
}

}  // namespace

Abbreviations abbreviationsOf(std::string_view language) {
  const bool isNorwegian = language == "nn" || language == "no";
  const std::string_view listed = isNorwegian ? "nb" : language;
  Abbreviations found;
  for (const Row& row : rows) {
    if (row.language.empty() || row.language == listed) {
      add(found.words, row.words);
      add(found.beforeNumbers, row.beforeNumbers);
    }
  }
  return found;
}

bool writesOrdinalsWithDots(std::string_view language) {
  return std::find(ordinalDots.begin(), ordinalDots.end(), language) != ordinalDots.end();
}

}  // namespace KQ::sentences
