// Character frequencies as sets: coarse, but a tag has too few characters for anything finer.
#include "mediaindex/common_characters.h"

#include <bitset>
#include <string_view>

static constexpr char32_t COMMON_SIMPLIFIED[] =
    U"的一是不了在人有我他这个们中来上大为和国地到以说时要就出会可也你对生能而子那得于着下自之年过发后作里用道"
    U"行所然家种事成方多经么去法学如"
    U"都同现当没动面起看定天分还进好小部其些主样理心她本前开但因只从想实日军者意无力它与长把机十民第公此已工使"
    U"情明性知全三又关点正业外将"
    U"两高间由问很最重并物手应战向头文体政美相见被利什二等产或新己制身果加西斯月话合回特代内信表化老给世位次度"
    U"门任常先海通教儿原东声提立"
    U"及比员解水名真论处走义各入几口认条平系气题活尔更别打女变四神总何电数安少报才结反受目太量再感建务做接必场"
    U"件计管期市直德资命山金指克"
    U"许统区保至队形社便空决治展马科司五基眼书非则听白却界达光放强即像难且权思王象完设式色路记南品住告类求据程"
    U"北边死张该交规万取拉格望觉"
    U"术领共确传师观清今切院让识候带导争运笑飞风步改收根干造言联持组每济车亲极林服快办议往元英士证近失转夫令准"
    U"布始怎呢存未远叫台单影具罗"
    U"字爱击流备兵连调深商算质团集百需价花党华城石级整府离况亚请技际约示复病息究线似官火断精满支视消越器容照须"
    U"九增研写称企八功吗包片史委"
    U"乎查轻易早曾除农找装广显吧阿李标谈吃图念六引历首医局突专费号尽另周较注语仅考落青随选列武红响虽推势参希古"
    U"众构房半节土投某案黑维革划"
    U"敌致陈律足态护七兴派孩验责营星够章音跟志底站严巴例防族供效续施留讲型料终答紧黄绝奇察母京段依批群项故按河"
    U"米围江织害斗双境客纪采举杀"
    U"攻父苏密低朝友诉止细愿千值仍男钱破网热助倒育属坐帝限船脸职速刻乐否刚威毛状率甚独球般普怕弹校苦创伪隔杰伦"
    U"歌曲唱梦泪雨夜恋吻醉舞琴"
    U"伤痛忘记忆温柔浪漫幸福孤单寂寞永远世界听妈妈话菊台七里香稻晴青瓷双截棍夕阳彩虹蝴蝶玫瑰朋友祝生日快乐专辑"
    U"精选邓丽君刘德华王菲孙燕姿"
    U"蔡依林周华健学友郭富城黎明谢霆锋陈奕迅莫文蔚梁静茹五月天信乐团零点乐队崔健罗大佑李宗盛许巍朴树老狼那英韩"
    U"红毛宁田震齐秦童安格赵传张信哲";

static constexpr char32_t COMMON_TRADITIONAL[] =
    U"這個們來為國說時會對學樣還沒動麼現當經過發後裡與長開關從實將間問頭體見產話應戰無點業東聲員義認條氣題爾別"
    U"變總電數報結場務計資許統區隊"
    U"決馬書則聽達強難權設記類據邊張該規萬覺術領確傳師觀讓識帶導爭運飛風幹聯組濟車親極辦議證轉準遠單羅愛擊備連"
    U"調團價華級離況亞請際約復線斷"
    U"滿視須稱嗎黨輕農裝廣顯標談圖歷醫專費號盡較語僅隨選紅響雖勢參眾構節劃敵陳態護興驗責營夠嚴續講終緊黃絕項圍"
    U"織雙紀採舉殺蘇細願錢網熱屬"
    U"臉職樂剛狀獨彈創傑倫夢淚戀傷憶溫滿單陽鄧麗劉孫鄭趙韓謝鋒鐵飄歲藍綠鳥龍鳳蕭葉銀鏡門開劍俠輯選劇樓鐘紙筆詩"
    U"詞聖誕節經典華語國語粵語臺灣"
    U"裏妳您誰甚什麼怎誰啊呀吧呢嗎喔噢妹姐哥弟爸媽爺奶臨時過客關於寶貝簡單約定擁抱離開等待尋找天際雲";

static constexpr char32_t COMMON_JAPANESE[] =
    U"日一国会人年大十二本中長出三同時政事自行社見月分議後前民生連五発間対上部東者党地合市業内相方四定今回新場"
    U"金員九入選立開手米力学問高代明"
    U"実円関決子動京全目表戦経通外最言氏現理調体化田当八六約主題下首意法不来作性的要用制治度務強気小七成期公野"
    U"協取都和統以機平総加山思家話世"
    U"受区領多県続進正安設保改数記院女初北午指権心界支第産結百派点教報済書府活原先共得解名交資予川向際査勝面委"
    U"告軍文反元重近千考判認画海参売"
    U"利組知案道信策集在件団別物側任引使求所次水半品昨論計死官増係感特情投示変打男基私各始島直両朝革価式確村提"
    U"運終挙果西勢減台広容必応演電歳"
    U"住争談能無再位置企真流格有疑口過局少放税検藤町常校料沢裁状工建語球営空職証土与急止送援供可役構木割聞身費"
    U"付施切由説転食比難防補車優夫研"
    U"収断井何南石足違消境神番規術護展態導鮮備宅害配副算視条幹独警宮究育席輸訪楽起万着乗店述残想線率病農州武声"
    U"質念待試族象銀域助労例衛然早張"
    U"恋愛夢君花風空夜星涙雪桜歌音光影翼永遠瞳心唄曲宇多田浜崎美中島嘉倉木麻衣福山雅治桑佐野元春宇宙鉄道世界白"
    U"黒赤青緑夏秋冬春雨虹旅街駅窓";

static constexpr char32_t COMMON_HANGUL[] =
    U"이다는을가에의고하지사한도로리기나어자서아그대라은를인시해일수정것들만게여보전제과부어야구주오원있없않우"
    U"었았했했던면된될되러거네니내너"
    U"랑사람마음노래꿈별달밤비눈물봄여름가을겨울하늘바다길집날빛꽃새친구행복슬픔그리움이별안녕미안고마워기억추"
    U"억영원처음마지막오늘내일어제우리"
    U"당신나의너의모두모든세상위한위해속으로까지부터처럼같은같이다시혼자함께소녀시대빅뱅동방신기원더걸스슈퍼주"
    U"니어서태지아이들조용필이문세김광석"
    U"김건모신승훈박효강윤최장임한오송전홍유권안백허남심노하곽성차주우구민류진엄채천방공현함변염여추도소석선설"
    U"마길연위표명기반왕금옥육인맹제모"
    U"탁국어은편용경재준영호철수희숙순정미진현민지혜은경연주아름예빈윤태환상훈승동규석범희발매앨범집곡가요음악"
    U"트로댄스발라드드라마오에스티메들"
    U"와요죠데때더말못몸뭐바번볼불살생손알양언없에올완외요운울웃월으음의잊자잠저점조종좋죽중직찾청초춤크타터통"
    U"파평포피필학한할항행향화황후흐";

template <size_t count>
static void CharactersAdd(const char32_t (&list)[count], char32_t base, auto *set)
{
    for (char32_t c : std::u32string_view(list, count - 1)) {
        if (c >= base && c - base < set->size())
            set->set(c - base);
    }
}

bool IsCommonHan(char32_t c)
{
    static constexpr char32_t FIRST = 0x4E00;
    static const auto set = [] {
        std::bitset<0x5200> characters;
        CharactersAdd(COMMON_SIMPLIFIED, FIRST, &characters);
        CharactersAdd(COMMON_TRADITIONAL, FIRST, &characters);
        CharactersAdd(COMMON_JAPANESE, FIRST, &characters);
        return characters;
    }();
    return c >= FIRST && c - FIRST < set.size() && set[c - FIRST];
}

bool IsCommonHangul(char32_t c)
{
    static constexpr char32_t FIRST = 0xAC00;
    static const auto set = [] {
        std::bitset<0x2BA4> characters;
        CharactersAdd(COMMON_HANGUL, FIRST, &characters);
        return characters;
    }();
    return c >= FIRST && c - FIRST < set.size() && set[c - FIRST];
}

int CyrillicRarity(char32_t c)
{
    static constexpr std::u32string_view FREQUENT = U"оеаинтсрвлкмдОЕАИНТСРВЛКМД";
    static constexpr std::u32string_view USUAL = U"пуяыьгзбчйПУЯЫЬГЗБЧЙ";
    if (FREQUENT.find(c) != FREQUENT.npos)
        return 0;
    if (USUAL.find(c) != USUAL.npos)
        return 1;
    return (c >= 0x410 && c <= 0x44F) || c == 0x401 || c == 0x451 ? 2 : 3;
}
